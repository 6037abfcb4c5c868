#include <gtest/gtest.h>

#include <limits>
#include <string>

#include <ostrana/sdk/XVAny.h>

using ostrana::Result;
using ostrana::XVAny;
using ostrana::XVAnyConversionError;
using ostrana::XVAnyMap;

namespace {

// The message of the conversion error that converting value to T throws.
template <typename T>
std::string conversionMessage(const XVAny& value) {
    try {
        (void)XVAny::convert<T>(value);
    } catch (const XVAnyConversionError& error) {
        return error.what();
    }
    return "no exception";
}

}  // namespace

TEST(XVAny, HoldsEachKindItIsMadeFrom) {
    EXPECT_EQ(XVAny().kind(), XVAny::Kind::Empty);
    EXPECT_EQ(XVAny(true).kind(), XVAny::Kind::Bool);
    EXPECT_EQ(XVAny(200).kind(), XVAny::Kind::Int);
    EXPECT_EQ(XVAny(200u).kind(), XVAny::Kind::UnsignedInt);
    EXPECT_EQ(XVAny(0.7f).kind(), XVAny::Kind::Float);
    EXPECT_EQ(XVAny("text").kind(), XVAny::Kind::String);
    EXPECT_EQ(XVAny(std::string("text")).kind(), XVAny::Kind::String);
    EXPECT_EQ(XVAny(XVAnyMap{}).kind(), XVAny::Kind::Map);
    EXPECT_EQ(XVAny(XVAny::Getter([] { return Result<XVAny>(XVAny(1)); })).kind(),
              XVAny::Kind::Getter);
    EXPECT_EQ(XVAny(XVAny::Setter([](const XVAny&) { return Result<void>(); })).kind(),
              XVAny::Kind::Setter);
}

TEST(XVAny, ConvertsEachKindBackExactly) {
    EXPECT_EQ(XVAny::convert<bool>(XVAny(false)), false);
    EXPECT_EQ(XVAny::convert<int>(XVAny(-17)), -17);
    EXPECT_EQ(XVAny::convert<unsigned int>(XVAny(4000000000u)), 4000000000u);
    EXPECT_EQ(XVAny::convert<float>(XVAny(0.99f)), 0.99f);
    EXPECT_EQ(XVAny::convert<std::string>(XVAny("Delay")), "Delay");
}

TEST(XVAny, ConvertsUnsignedFromInt) {
    EXPECT_EQ(XVAny::convert<unsigned int>(XVAny(int(300))), 300u);
    EXPECT_EQ(XVAny::convert<unsigned int>(XVAny(0)), 0u);
}

TEST(XVAny, ConvertsFloatFromEveryNumber) {
    EXPECT_EQ(XVAny::convert<float>(XVAny(200)), 200.0f);
    EXPECT_EQ(XVAny::convert<float>(XVAny(-3)), -3.0f);
    EXPECT_EQ(XVAny::convert<float>(XVAny(16777217u)), static_cast<float>(16777217u));
}

TEST(XVAny, ConvertsIntFromUnsignedThatFits) {
    EXPECT_EQ(XVAny::convert<int>(XVAny(5u)), 5);
    EXPECT_THROW(XVAny::convert<int>(XVAny(3000000000u)), XVAnyConversionError);
}

TEST(XVAny, RefusesNegativeIntAsUnsigned) {
    EXPECT_THROW(XVAny::convert<unsigned int>(XVAny(-1)), XVAnyConversionError);
    EXPECT_NE(conversionMessage<unsigned int>(XVAny(-1)).find("-1"), std::string::npos);
}

TEST(XVAny, UnsuitableConversionNamesBothKinds) {
    EXPECT_EQ(conversionMessage<float>(XVAny("loud")),
              "XVAny: cannot convert a value of kind 'string' to 'float'");
    EXPECT_EQ(conversionMessage<bool>(XVAny(1)),
              "XVAny: cannot convert a value of kind 'int' to 'bool'");
    EXPECT_EQ(conversionMessage<XVAnyMap>(XVAny(0.5f)),
              "XVAny: cannot convert a value of kind 'float' to 'map'");
    EXPECT_EQ(conversionMessage<std::string>(XVAny()),
              "XVAny: cannot convert a value of kind 'empty' to 'string'");
    EXPECT_EQ(conversionMessage<unsigned int>(XVAny(true)),
              "XVAny: cannot convert a value of kind 'bool' to 'unsigned int'");
}

TEST(XVAny, ConversionErrorIsARuntimeError) {
    EXPECT_THROW(XVAny::convert<int>(XVAny("x")), std::runtime_error);
}

TEST(XVAny, CopiesAreIndependentValues) {
    XVAny original(1.5f);
    XVAny copy = original;
    original = XVAny("changed");
    EXPECT_EQ(XVAny::convert<float>(copy), 1.5f);
    EXPECT_EQ(XVAny::convert<std::string>(original), "changed");
}

TEST(XVAny, HeldFunctionsAreCalledWithTheirCaptures) {
    int calls = 0;
    XVAny getter(XVAny::Getter([&calls] {
        ++calls;
        return Result<XVAny>(XVAny(calls));
    }));
    XVAny copy = getter;
    EXPECT_EQ(XVAny::convert<int>(XVAny::convert<XVAny::Getter>(copy)().value()), 1);
    EXPECT_EQ(XVAny::convert<int>(XVAny::convert<XVAny::Getter>(getter)().value()), 2);

    float stored = 0.0f;
    XVAny setter(XVAny::Setter([&stored](const XVAny& value) {
        stored = XVAny::convert<float>(value);
        return Result<void>();
    }));
    EXPECT_TRUE(XVAny::convert<XVAny::Setter>(setter)(XVAny(0.25f)).isOk());
    EXPECT_EQ(stored, 0.25f);
    EXPECT_THROW(XVAny::convert<XVAny::Getter>(setter), XVAnyConversionError);
}

TEST(XVAny, EqualityComparesKindAndContent) {
    EXPECT_EQ(XVAny(200), XVAny(200));
    EXPECT_FALSE(XVAny(200) == XVAny(200u));
    EXPECT_FALSE(XVAny(1.0f) == XVAny(1));
    EXPECT_EQ(XVAny("a"), XVAny(std::string("a")));
    EXPECT_EQ(XVAny(XVAnyMap{{"k", XVAny(1)}}), XVAny(XVAnyMap{{"k", XVAny(1)}}));
    EXPECT_FALSE(XVAny(XVAnyMap{{"k", XVAny(1)}}) == XVAny(XVAnyMap{{"k", XVAny(2)}}));
    EXPECT_EQ(XVAny(), XVAny());
}

TEST(XVAny, KindNamesAreReadable) {
    EXPECT_EQ(XVAny::kindName(XVAny::Kind::UnsignedInt), "unsigned int");
    EXPECT_EQ(XVAny::kindName(XVAny::Kind::Map), "map");
    EXPECT_EQ(XVAny::kindName(XVAny::Kind::Getter), "getter");
}
