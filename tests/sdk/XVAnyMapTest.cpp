#include <gtest/gtest.h>

#include <string>

#include <ostrana/sdk/XVAnyMap.h>

using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::XVAnyMapKeyError;

TEST(XVAnyMap, EmptyMapHasNoEmptyKey) {
    EXPECT_FALSE(XVAnyMap().hasKey(""));
}

TEST(XVAnyMap, KeysAreCaseSensitive) {
    const XVAnyMap map{{"delayMs", XVAny(200)}};
    EXPECT_TRUE(map.hasKey("delayMs"));
    EXPECT_FALSE(map.hasKey("DelayMs"));
    EXPECT_FALSE(map.hasKey("delayms"));
}

TEST(XVAnyMap, AtReturnsACopyOfTheStoredValue) {
    const XVAnyMap map{{"a", XVAny(1)}, {"b", XVAny("two")}};
    EXPECT_EQ(XVAny::convert<int>(map.at("a")), 1);
    EXPECT_EQ(XVAny::convert<std::string>(map.at("b")), "two");
    EXPECT_EQ(map.size(), 2u);
}

TEST(XVAnyMap, AtOnAMissingKeyThrowsNamingTheKey) {
    const XVAnyMap map{{"a", XVAny(1)}};
    try {
        (void)map.at("missingKey");
        FAIL() << "no exception";
    } catch (const XVAnyMapKeyError& error) {
        EXPECT_NE(std::string(error.what()).find("'missingKey'"), std::string::npos);
    }
}

TEST(XVAnyMap, KeepsEntriesInTheOrderGiven) {
    const XVAnyMap map{{"z", XVAny(1)}, {"a", XVAny(2)}, {"m", XVAny(3)}};
    std::string keys;
    for (const auto& [key, value] : map) keys += key;
    EXPECT_EQ(keys, "zam");
}

TEST(XVAnyMap, RepeatedKeyReplacesTheEarlierValueInPlace) {
    const XVAnyMap map{{"a", XVAny(1)}, {"b", XVAny(2)}, {"a", XVAny(3)}};
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(XVAny::convert<int>(map.at("a")), 3);
    EXPECT_EQ(map.begin()->first, "a");
}

TEST(XVAnyMap, ConvertingAHeldMapYieldsAnEqualIndependentMap) {
    XVAnyMap original{{"default", XVAny(200)}, {"type", XVAny("int")}};
    const XVAny held(original);
    XVAnyMap copy = XVAny::convert<XVAnyMap>(held);
    EXPECT_EQ(copy, original);

    copy.set("default", XVAny(5));
    original.set("extra", XVAny(true));
    const XVAnyMap again = XVAny::convert<XVAnyMap>(held);
    EXPECT_EQ(XVAny::convert<int>(again.at("default")), 200);
    EXPECT_FALSE(again.hasKey("extra"));
    EXPECT_EQ(again.size(), 2u);
}

TEST(XVAnyMap, NestedMapsCompareDeeply) {
    const XVAnyMap a{{"inner", XVAny(XVAnyMap{{"x", XVAny(1.0f)}})}};
    const XVAnyMap b{{"inner", XVAny(XVAnyMap{{"x", XVAny(1.0f)}})}};
    const XVAnyMap c{{"inner", XVAny(XVAnyMap{{"x", XVAny(2.0f)}})}};
    EXPECT_EQ(a, b);
    EXPECT_FALSE(a == c);
}
