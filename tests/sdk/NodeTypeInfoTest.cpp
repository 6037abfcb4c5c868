#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include <ostrana/sdk/NodeTypeInfo.h>

#include "sdk/PropertyLookupError.h"

using ostrana::NodeTypeInfo;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::testing::propertyLookupError;

namespace {

NodeTypeInfo recordWithOneProperty() {
    NodeTypeInfo info;
    info.type = "AudioEffects";
    info.subtype = "PingPongDelay";
    info.properties = XVAnyMap{{"delayMs", XVAny(XVAnyMap{{"default", XVAny(200)}})}};
    info.configuration = XVAnyMap{{"channels", XVAny(XVAnyMap{})}};
    info.actions = XVAnyMap{{"reset", XVAny(XVAnyMap{})}};
    info.events = XVAnyMap{{"clipped", XVAny(XVAnyMap{})}};
    return info;
}

}  // namespace

TEST(NodeTypeInfo, FullyQualifiedNameJoinsTypeAndSubtype) {
    EXPECT_EQ(recordWithOneProperty().getFQTypeName(), "AudioEffects.PingPongDelay");
    NodeTypeInfo partial;
    partial.type = "AudioEffects";
    EXPECT_EQ(partial.getFQTypeName(), "AudioEffects.");
}

TEST(NodeTypeInfo, DefaultRecordIsNamedByAFullStop) {
    EXPECT_EQ(NodeTypeInfo().getFQTypeName(), ".");
}

TEST(NodeTypeInfo, GetPropertyReturnsTheSchemaMap) {
    const XVAnyMap schema = recordWithOneProperty().getProperty("delayMs");
    EXPECT_EQ(schema, (XVAnyMap{{"default", XVAny(200)}}));
}

TEST(NodeTypeInfo, MissingPropertyThrowsTheExactMessage) {
    EXPECT_EQ(propertyLookupError(recordWithOneProperty(), "gain"),
              "[NodeTypeInfo] Property key 'gain' not found for node type "
              "'AudioEffects.PingPongDelay'.");
    EXPECT_EQ(propertyLookupError(recordWithOneProperty(), ""),
              "[NodeTypeInfo] Property key '' not found for node type "
              "'AudioEffects.PingPongDelay'.");
}

TEST(NodeTypeInfo, PropertyKeysAreCaseSensitive) {
    EXPECT_NO_THROW((void)recordWithOneProperty().getProperty("delayMs"));
    EXPECT_THROW((void)recordWithOneProperty().getProperty("DelayMs"), std::runtime_error);
}

TEST(NodeTypeInfo, OnlyPropertiesAreSearched) {
    const NodeTypeInfo info = recordWithOneProperty();
    EXPECT_THROW((void)info.getProperty("channels"), std::runtime_error);
    EXPECT_THROW((void)info.getProperty("reset"), std::runtime_error);
    EXPECT_THROW((void)info.getProperty("clipped"), std::runtime_error);
}

TEST(NodeTypeInfo, AStoredValueThatIsNoMapPassesTheConversionErrorThrough) {
    NodeTypeInfo info = recordWithOneProperty();
    info.properties.set("odd", XVAny(3));
    EXPECT_THROW((void)info.getProperty("odd"), ostrana::XVAnyConversionError);
}

TEST(NodeTypeInfo, CopiesAreIndependent) {
    const NodeTypeInfo original = recordWithOneProperty();
    NodeTypeInfo copy = original;
    copy.subtype = "Other";
    copy.properties.set("delayMs", XVAny(XVAnyMap{}));
    EXPECT_EQ(original.getFQTypeName(), "AudioEffects.PingPongDelay");
    EXPECT_EQ(original.getProperty("delayMs").size(), 1u);
}
