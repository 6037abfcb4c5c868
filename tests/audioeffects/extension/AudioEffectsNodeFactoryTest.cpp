#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/AudioNode.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/EveryNodeType.h"
#include "audioeffects/extension/ExpectedNodeTypes.h"

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;
using ostrana::testing::expectedEffectNodeTypes;
using ostrana::testing::expectedEffectTypeNames;
using ostrana::testing::nodeTypeDifferences;

namespace {

// Keys named like the nodes' parameters but holding the wrong kinds, and keys nobody uses.
XVAnyMap unrelatedAndWronglyTypedConfiguration() {
    const XVAny::Getter getter = [] { return Result<XVAny>(XVAny(1)); };
    return XVAnyMap{
        {"enabled", XVAny(0.0f)},    {"delayMs", XVAny("long")},
        {"dryMix", XVAny(true)},     {"wetMix", XVAny("0.9")},
        {"feedbackLevel", XVAny(5)}, {"sweepWidth", XVAny(XVAnyMap{{"seconds", XVAny(1)}})},
        {"frequency", XVAny(-3)},    {"numberOfChannels", XVAny(7u)},
        {"channels", XVAny("many")}, {"", XVAny()},
        {"Unrelated", XVAny(getter)}};
}

std::unique_ptr<Node> create(NodeFactory& factory, const std::string& type,
                             const XVAnyMap& configuration) {
    Result<std::unique_ptr<Node>> node = factory.createNode(type, configuration);
    if (!node.isOk()) {
        ADD_FAILURE() << "creating " << type << ": " << node.errorMessage();
        return nullptr;
    }
    return std::move(node).value();
}

// Offers the same format with channels channels on input and output.
bool acceptsChannels(Node& node, unsigned int channels) {
    auto& audioNode = dynamic_cast<AudioNode&>(node);
    AudioBusFormatList inputs{AudioBusFormat{channels, 48000, 256}};
    AudioBusFormatList outputs{AudioBusFormat{channels, 48000, 256}};
    return audioNode.setBusFormats(inputs, outputs);
}

// Creates type with an empty configuration and with a wrongly typed one, so that each test
// can compare the two nodes' starting values.
struct NodePair {
    std::unique_ptr<Node> fromEmpty;
    std::unique_ptr<Node> fromUnrelated;
};

NodePair createPair(const std::string& type) {
    AudioEffectsNodeFactory factory;
    return {create(factory, type, XVAnyMap{}),
            create(factory, type, unrelatedAndWronglyTypedConfiguration())};
}

}  // namespace

TEST(AudioEffectsNodeFactory, PrefixIsAudioEffectsOnEveryCall) {
    AudioEffectsNodeFactory first;
    AudioEffectsNodeFactory second;
    for (int call = 0; call < 3; ++call) {
        EXPECT_EQ(first.getNodeTypePrefix(), "AudioEffects");
        EXPECT_EQ(second.getNodeTypePrefix(), "AudioEffects");
    }
}

TEST(AudioEffectsNodeFactory, ListsExactlyTheExpectedTypesInRegistrationOrder) {
    AudioEffectsNodeFactory factory;
    std::vector<std::string> names;
    for (const NodeTypeInfo& info : factory.getNodeTypes()) names.push_back(info.getFQTypeName());
    // What it must register is written out in the expected node types; the tests of what every
    // type does take the types from the catalogue instead.
    EXPECT_EQ(names, expectedEffectTypeNames(factory.getNodeTypes()));
}

TEST(AudioEffectsNodeFactory, RegistersTheCompleteDescriptorOfEachType) {
    AudioEffectsNodeFactory factory;
    const std::vector<NodeTypeInfo> types = factory.getNodeTypes();
    const std::vector<NodeTypeInfo> expected = expectedEffectNodeTypes(types);
    ASSERT_EQ(types.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(nodeTypeDifferences(types[i], expected[i]), "") << expected[i].getFQTypeName();
    }
}

// What every catalogued node type does when the factory makes it, one case per type.
class AudioEffectsNodeFactoryType : public ::testing::TestWithParam<NodeTypeEntry> {};

TEST_P(AudioEffectsNodeFactoryType, IsFoundByItsFullyQualifiedName) {
    EXPECT_TRUE(AudioEffectsNodeFactory().hasNodeType(GetParam().typeName()));
}

// The catalogue's accessors work on a node of their own type only (they throw
// std::invalid_argument for any other): the factory's node is of the type's own class when its
// type's accessors read it and every other type's refuse it.
TEST_P(AudioEffectsNodeFactoryType, CreatesTheMatchingNodeClass) {
    AudioEffectsNodeFactory factory;
    const std::unique_ptr<Node> node = create(factory, GetParam().typeName(), XVAnyMap{});
    ASSERT_NE(node, nullptr);
    for (const NodeTypeEntry& other : EffectCatalogue::nodeTypes()) {
        const bool own = other.typeName() == GetParam().typeName();
        for (const NodeParameter& parameter : other.parameters) {
            SCOPED_TRACE(other.typeName() + " " + std::string(parameter.name));
            if (own) {
                EXPECT_NO_THROW(parameter.read(*node));
            } else {
                EXPECT_THROW(parameter.read(*node), std::invalid_argument);
            }
        }
    }
}

TEST_P(AudioEffectsNodeFactoryType, EachCreationGivesANewNode) {
    AudioEffectsNodeFactory factory;
    const std::unique_ptr<Node> first = create(factory, GetParam().typeName(), XVAnyMap{});
    const std::unique_ptr<Node> second = create(factory, GetParam().typeName(), XVAnyMap{});
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first.get(), second.get());
}

// Every catalogued parameter, and every host property the descriptor declares, starts at the
// catalogue's default, from an empty configuration and from one of wrongly typed entries named
// like parameters.
TEST_P(AudioEffectsNodeFactoryType, StartsFromItsDefaultsWhateverTheConfiguration) {
    const NodeTypeEntry& entry = GetParam();
    const NodePair nodes = createPair(entry.typeName());
    ASSERT_NE(nodes.fromEmpty, nullptr);
    ASSERT_NE(nodes.fromUnrelated, nullptr);
    const XVAnyMap properties = entry.describe().properties;
    for (Node* node : {nodes.fromEmpty.get(), nodes.fromUnrelated.get()}) {
        for (const NodeParameter& parameter : entry.parameters) {
            EXPECT_EQ(parameter.read(*node), parameter.defaultValue) << parameter.name;
        }
        for (const XVAnyMap::Entry& property : properties) {
            const NodeParameter* parameter = entry.findParameter(property.first);
            ASSERT_NE(parameter, nullptr) << property.first;
            const Result<XVAny> value = node->getValue(property.first);
            ASSERT_TRUE(value.isOk()) << property.first << ": " << value.errorMessage();
            EXPECT_EQ(value.value(),
                      std::visit([](auto held) { return XVAny(held); }, parameter->defaultValue))
                << property.first;
        }
    }
}

// Exactly the catalogue's channel counts, from either configuration.
TEST_P(AudioEffectsNodeFactoryType, TakesExactlyItsChannelCounts) {
    const NodeTypeEntry& entry = GetParam();
    AudioEffectsNodeFactory factory;
    for (const XVAnyMap& configuration : {XVAnyMap{}, unrelatedAndWronglyTypedConfiguration()}) {
        const std::unique_ptr<Node> node = create(factory, entry.typeName(), configuration);
        ASSERT_NE(node, nullptr);
        for (unsigned int channels = 1; channels <= entry.maxChannels + 1; ++channels) {
            EXPECT_EQ(acceptsChannels(*node, channels), entry.acceptsChannels(channels))
                << channels << " channels";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryNodeType, AudioEffectsNodeFactoryType,
                         ostrana::testing::everyNodeType(), ostrana::testing::nodeTypeTestName);

TEST(AudioEffectsNodeFactory, UnknownTypeIsTheHostsErrorNamingIt) {
    AudioEffectsNodeFactory factory;
    for (const std::string type : {"AudioEffects.Reverb", "AudioEffects.", ""}) {
        const Result<std::unique_ptr<Node>> node = factory.createNode(type, XVAnyMap{});
        EXPECT_FALSE(node.isOk()) << type;
        EXPECT_NE(node.errorMessage().find("'" + type + "'"), std::string::npos)
            << node.errorMessage();
    }
}

TEST(AudioEffectsNodeFactory, NodesOutliveTheFactoryThatMadeThem) {
    std::vector<std::unique_ptr<Node>> nodes;
    {
        AudioEffectsNodeFactory factory;
        for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
            nodes.push_back(create(factory, entry.typeName(), XVAnyMap{}));
        }
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const NodeTypeEntry& entry = EffectCatalogue::nodeTypes()[i];
        ASSERT_NE(nodes[i], nullptr);
        EXPECT_TRUE(acceptsChannels(*nodes[i], 2)) << entry.typeName();
        // Every parameter still reads and writes: the last one set to its maximum.
        const NodeParameter& parameter = entry.parameters.back();
        parameter.write(*nodes[i], parameter.maximum);
        EXPECT_EQ(parameter.read(*nodes[i]), parameter.maximum) << entry.typeName();
    }
}
