#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>

using ostrana::Result;
using ostrana::XVAny;

TEST(Result, SuccessCarriesItsValue) {
    const Result<XVAny> result(XVAny(0.5f));
    EXPECT_TRUE(result.isOk());
    EXPECT_TRUE(static_cast<bool>(result));
    EXPECT_EQ(XVAny::convert<float>(result.value()), 0.5f);
    EXPECT_EQ(result.errorMessage(), "");
}

TEST(Result, ErrorCarriesItsMessage) {
    const auto result = Result<XVAny>::failure("it went wrong");
    EXPECT_FALSE(result.isOk());
    EXPECT_EQ(result.errorMessage(), "it went wrong");
    EXPECT_THROW((void)result.value(), std::logic_error);
}

TEST(Result, VoidSuccessByDefault) {
    const Result<void> result;
    EXPECT_TRUE(result.isOk());
    EXPECT_EQ(result.errorMessage(), "");
    const auto error = Result<void>::failure("no");
    EXPECT_FALSE(error.isOk());
    EXPECT_FALSE(static_cast<bool>(error));
    EXPECT_EQ(error.errorMessage(), "no");
}

TEST(Result, MoveOnlyValuesCanBeTakenOut) {
    Result<std::unique_ptr<int>> result(std::make_unique<int>(7));
    std::unique_ptr<int> taken = std::move(result).value();
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(*taken, 7);
}
