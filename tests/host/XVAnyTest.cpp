#include "host/XVAny.h"

#include <gtest/gtest.h>

using ostrana::XVAny;

TEST(XVAny, ConvertsUnsignedFromInt) { EXPECT_EQ(XVAny::convert<unsigned int>(XVAny(300)), 300u); }
