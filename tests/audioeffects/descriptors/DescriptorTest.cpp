#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/extension/ExpectedNodeTypes.h"
#include "sdk/PropertyLookupError.h"

namespace {

using ostrana::NodeTypeInfo;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::testing::propertyLookupError;
using namespace ostrana::extensions::audioeffects;

// One catalogued node type: how its descriptor is built (the node class's getNodeTypeInfo, as
// the catalogue holds it) and the descriptor it must give, from the tests' own list.
struct Identity {
    NodeTypeInfo (*build)();
    NodeTypeInfo expected;
    std::string fullName;
};

// Every node type of the catalogue beside its expected descriptor, in the catalogue's order.
std::vector<Identity> allRecords() {
    const auto entries = EffectCatalogue::nodeTypes();
    std::vector<NodeTypeInfo> described;
    for (const NodeTypeEntry& entry : entries) described.push_back(entry.describe());
    const std::vector<NodeTypeInfo> expected = ostrana::testing::expectedEffectNodeTypes(described);
    const std::vector<std::string> names = ostrana::testing::expectedEffectTypeNames(described);
    EXPECT_EQ(entries.size(), expected.size()) << "the catalogue and the expected list differ";
    std::vector<Identity> records;
    for (std::size_t i = 0; i < std::min(entries.size(), expected.size()); ++i) {
        records.push_back({entries[i].describe, expected[i], names[i]});
    }
    return records;
}

// The records whose expected descriptor declares no properties.
std::vector<Identity> recordsWithoutProperties() {
    std::vector<Identity> records;
    for (const Identity& identity : allRecords()) {
        if (identity.expected.properties.empty()) records.push_back(identity);
    }
    return records;
}

void expectSameRecord(const NodeTypeInfo& actual, const NodeTypeInfo& expected) {
    EXPECT_EQ(actual.type, expected.type);
    EXPECT_EQ(actual.subtype, expected.subtype);
    EXPECT_EQ(actual.displayName, expected.displayName);
    EXPECT_EQ(actual.description, expected.description);
    EXPECT_EQ(actual.categories, expected.categories);
    EXPECT_TRUE(actual.configuration == expected.configuration);
    EXPECT_TRUE(actual.properties == expected.properties);
    EXPECT_TRUE(actual.actions == expected.actions);
    EXPECT_TRUE(actual.events == expected.events);
}

std::vector<std::string> keysOf(const XVAnyMap& map) {
    std::vector<std::string> keys;
    for (const auto& entry : map) keys.push_back(entry.first);
    return keys;
}

TEST(EffectDescriptors, EachRecordCarriesItsIdentity) {
    for (const Identity& identity : allRecords()) {
        SCOPED_TRACE(identity.fullName);
        const NodeTypeInfo info = identity.build();
        EXPECT_EQ(info.type, "AudioEffects");
        EXPECT_EQ(info.subtype, identity.expected.subtype);
        EXPECT_EQ(info.displayName, identity.expected.displayName);
        EXPECT_EQ(info.description, identity.expected.description);
        EXPECT_EQ(info.getFQTypeName(), identity.fullName);
    }
}

TEST(EffectDescriptors, EveryRecordIsAnAudioProcessingEffect) {
    for (const Identity& identity : allRecords()) {
        SCOPED_TRACE(identity.fullName);
        const NodeTypeInfo info = identity.build();
        EXPECT_EQ(info.categories, (std::vector<std::string>{"Audio Processing", "Effects"}));
    }
}

TEST(EffectDescriptors, ConfigurationActionsAndEventsAreEmpty) {
    for (const Identity& identity : allRecords()) {
        SCOPED_TRACE(identity.fullName);
        const NodeTypeInfo info = identity.build();
        EXPECT_TRUE(info.configuration.empty());
        EXPECT_TRUE(info.actions.empty());
        EXPECT_TRUE(info.events.empty());
    }
}

TEST(EffectDescriptors, EachRecordDescribesExactlyTheExpectedProperties) {
    for (const Identity& identity : allRecords()) {
        SCOPED_TRACE(identity.fullName);
        const NodeTypeInfo info = identity.build();
        EXPECT_EQ(keysOf(info.properties), keysOf(identity.expected.properties));
        EXPECT_TRUE(info.properties == identity.expected.properties);
    }
    EXPECT_EQ(PingPongDelayNode::getNodeTypeInfo().properties.size(), 5u);
}

TEST(EffectDescriptors, EveryLookupOnARecordWithoutPropertiesFails) {
    for (const Identity& identity : recordsWithoutProperties()) {
        SCOPED_TRACE(identity.fullName);
        const NodeTypeInfo info = identity.build();
        for (const char* key : {"delayMs", "enabled", "dryMix", "sweepWidth", "frequency", ""}) {
            EXPECT_EQ(propertyLookupError(info, key), std::string("[NodeTypeInfo] Property key '") +
                                                          key + "' not found for node type '" +
                                                          identity.fullName + "'.");
        }
    }
}

TEST(EffectDescriptors, DelayRecordHasNoDelayProperty) {
    EXPECT_EQ(propertyLookupError(DelayNode::getNodeTypeInfo(), "delayMs"),
              "[NodeTypeInfo] Property key 'delayMs' not found for node type "
              "'AudioEffects.Delay'.");
}

TEST(EffectDescriptors, EachCallBuildsAnEqualIndependentRecord) {
    for (const Identity& identity : allRecords()) {
        SCOPED_TRACE(identity.fullName);
        NodeTypeInfo first = identity.build();
        const NodeTypeInfo second = identity.build();
        expectSameRecord(first, second);

        first.subtype = "Changed";
        first.categories.push_back("Utility");
        first.properties = XVAnyMap{{"gain", XVAny(XVAnyMap{})}};
        first.events.set("clipped", XVAny(XVAnyMap{}));
        expectSameRecord(identity.build(), second);
    }
}

TEST(PingPongDescriptor, ListsItsFivePropertiesInOrder) {
    const NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    EXPECT_EQ(keysOf(info.properties), (std::vector<std::string>{"enabled", "delayMs", "dryMix",
                                                                 "wetMix", "feedbackLevel"}));
    for (const auto& entry : info.properties) {
        EXPECT_EQ(entry.second.kind(), XVAny::Kind::Map) << entry.first;
    }
}

TEST(PingPongDescriptor, EnabledSchemaHasFourEntriesWithReadOnlyBeforeTheDefault) {
    const XVAnyMap schema = PingPongDelayNode::getNodeTypeInfo().getProperty("enabled");
    const XVAnyMap expected{
        {"description", XVAny("Enable or disable the ping-pong delay effect.")},
        {"type", XVAny("boolean")},
        {"readOnly", XVAny(false)},
        {"default", XVAny(true)},
    };
    EXPECT_TRUE(schema == expected);
    EXPECT_EQ(schema.size(), 4u);
    EXPECT_EQ(keysOf(schema),
              (std::vector<std::string>{"description", "type", "readOnly", "default"}));
    EXPECT_FALSE(schema.hasKey("min"));
    EXPECT_FALSE(schema.hasKey("max"));
    EXPECT_EQ(schema.at("default").kind(), XVAny::Kind::Bool);
    EXPECT_EQ(schema.at("readOnly").kind(), XVAny::Kind::Bool);
}

TEST(PingPongDescriptor, DelaySchemaHoldsSignedIntegers) {
    const XVAnyMap schema = PingPongDelayNode::getNodeTypeInfo().getProperty("delayMs");
    const XVAnyMap expected{
        {"description", XVAny("The delay time in milliseconds.")},
        {"type", XVAny("int")},
        {"default", XVAny(200)},
        {"min", XVAny(1)},
        {"max", XVAny(1000)},
        {"readOnly", XVAny(false)},
    };
    EXPECT_TRUE(schema == expected);
    EXPECT_EQ(schema.at("default").kind(), XVAny::Kind::Int);
    EXPECT_EQ(schema.at("min").kind(), XVAny::Kind::Int);
    EXPECT_EQ(schema.at("max").kind(), XVAny::Kind::Int);
    EXPECT_EQ(XVAny::convert<int>(schema.at("default")), 200);
    EXPECT_EQ(XVAny::convert<int>(schema.at("min")), 1);
    EXPECT_EQ(XVAny::convert<int>(schema.at("max")), 1000);
    EXPECT_EQ(XVAny::convert<std::string>(schema.at("type")), "int");
    EXPECT_FALSE(XVAny::convert<bool>(schema.at("readOnly")));
    EXPECT_FALSE(schema.hasKey("unit"));
}

TEST(PingPongDescriptor, MixSchemasHoldSinglePrecisionFloats) {
    const NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    const XVAnyMap dry{
        {"description",
         XVAny("Level of the dry signal. 0 means no dry signal, 1 means maximum dry signal.")},
        {"type", XVAny("float")},
        {"default", XVAny(0.7f)},
        {"min", XVAny(0.0f)},
        {"max", XVAny(1.0f)},
        {"readOnly", XVAny(false)},
    };
    const XVAnyMap wet{
        {"description",
         XVAny("Level of the wet signal. 0 means no wet signal, 1 means maximum wet signal.")},
        {"type", XVAny("float")},
        {"default", XVAny(0.3f)},
        {"min", XVAny(0.0f)},
        {"max", XVAny(1.0f)},
        {"readOnly", XVAny(false)},
    };
    EXPECT_TRUE(info.getProperty("dryMix") == dry);
    EXPECT_TRUE(info.getProperty("wetMix") == wet);
    for (const char* key : {"dryMix", "wetMix"}) {
        const XVAnyMap schema = info.getProperty(key);
        for (const char* bound : {"default", "min", "max"}) {
            EXPECT_EQ(schema.at(bound).kind(), XVAny::Kind::Float) << key << " " << bound;
        }
    }
}

TEST(PingPongDescriptor, FeedbackStopsAtPointNineNine) {
    const XVAnyMap schema = PingPongDelayNode::getNodeTypeInfo().getProperty("feedbackLevel");
    const XVAnyMap expected{
        {"description", XVAny("The feedback level of the delay. 0 means no feedback, 1 means "
                              "maximum feedback.")},
        {"type", XVAny("float")},
        {"default", XVAny(0.2f)},
        {"min", XVAny(0.0f)},
        {"max", XVAny(0.99f)},
        {"readOnly", XVAny(false)},
    };
    EXPECT_TRUE(schema == expected);
    EXPECT_EQ(schema.at("max").kind(), XVAny::Kind::Float);
    EXPECT_EQ(XVAny::convert<float>(schema.at("max")), 0.99f);
    EXPECT_NE(XVAny::convert<float>(schema.at("max")), 1.0f);
}

TEST(PingPongDescriptor, NoSchemaNamesItselfOrCarriesExtras) {
    const NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    for (const std::string& key : keysOf(info.properties)) {
        const XVAnyMap schema = info.getProperty(key);
        for (const char* absent : {"name", "options", "value", "getter", "setter", "unit"}) {
            EXPECT_FALSE(schema.hasKey(absent)) << key << " has " << absent;
        }
    }
}

TEST(PingPongDescriptor, LookupOfTheEmptyKeyFails) {
    EXPECT_EQ(propertyLookupError(PingPongDelayNode::getNodeTypeInfo(), ""),
              "[NodeTypeInfo] Property key '' not found for node type "
              "'AudioEffects.PingPongDelay'.");
}

TEST(PingPongDescriptor, KeysAreCaseSensitive) {
    const NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    EXPECT_NO_THROW((void)info.getProperty("delayMs"));
    EXPECT_EQ(propertyLookupError(info, "DelayMs"),
              "[NodeTypeInfo] Property key 'DelayMs' not found for node type "
              "'AudioEffects.PingPongDelay'.");
}

}  // namespace
