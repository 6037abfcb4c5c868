#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/AudioNode.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/extension/ExpectedNodeTypes.h"

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;
using ostrana::testing::expectedEffectNodeTypes;
using ostrana::testing::nodeTypeDifferences;

namespace {

const std::vector<std::string> kTypeNames = {"AudioEffects.Delay", "AudioEffects.PingPongDelay",
                                             "AudioEffects.Vibrato", "AudioEffects.Flanger",
                                             "AudioEffects.Chorus"};

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

TEST(AudioEffectsNodeFactory, ListsExactlyTheFiveTypesInRegistrationOrder) {
    AudioEffectsNodeFactory factory;
    std::vector<std::string> names;
    for (const NodeTypeInfo& info : factory.getNodeTypes()) names.push_back(info.getFQTypeName());
    EXPECT_EQ(names, kTypeNames);
}

TEST(AudioEffectsNodeFactory, RegistersTheCompleteDescriptorOfEachType) {
    AudioEffectsNodeFactory factory;
    const std::vector<NodeTypeInfo> types = factory.getNodeTypes();
    const std::vector<NodeTypeInfo> expected = expectedEffectNodeTypes();
    ASSERT_EQ(types.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(nodeTypeDifferences(types[i], expected[i]), "") << expected[i].getFQTypeName();
    }
}

TEST(AudioEffectsNodeFactory, EveryTypeIsFoundByItsFullyQualifiedName) {
    AudioEffectsNodeFactory factory;
    for (const std::string& name : kTypeNames) EXPECT_TRUE(factory.hasNodeType(name)) << name;
}

TEST(AudioEffectsNodeFactory, CreatesTheMatchingNodeClassForEachType) {
    AudioEffectsNodeFactory factory;
    const XVAnyMap empty;
    EXPECT_NE(dynamic_cast<DelayNode*>(create(factory, "AudioEffects.Delay", empty).get()),
              nullptr);
    EXPECT_NE(dynamic_cast<PingPongDelayNode*>(
                  create(factory, "AudioEffects.PingPongDelay", empty).get()),
              nullptr);
    EXPECT_NE(dynamic_cast<VibratoNode*>(create(factory, "AudioEffects.Vibrato", empty).get()),
              nullptr);
    EXPECT_NE(dynamic_cast<FlangerNode*>(create(factory, "AudioEffects.Flanger", empty).get()),
              nullptr);
    EXPECT_NE(dynamic_cast<ChorusNode*>(create(factory, "AudioEffects.Chorus", empty).get()),
              nullptr);
}

TEST(AudioEffectsNodeFactory, EachCreationGivesANewNode) {
    AudioEffectsNodeFactory factory;
    for (const std::string& name : kTypeNames) {
        const std::unique_ptr<Node> first = create(factory, name, XVAnyMap{});
        const std::unique_ptr<Node> second = create(factory, name, XVAnyMap{});
        ASSERT_NE(first, nullptr);
        ASSERT_NE(second, nullptr);
        EXPECT_NE(first.get(), second.get()) << name;
    }
}

TEST(AudioEffectsNodeFactory, DelayStartsFromItsDefaultsWhateverTheConfiguration) {
    NodePair nodes = createPair("AudioEffects.Delay");
    auto* plain = dynamic_cast<DelayNode*>(nodes.fromEmpty.get());
    auto* configured = dynamic_cast<DelayNode*>(nodes.fromUnrelated.get());
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(configured, nullptr);
    for (DelayNode* node : {plain, configured}) {
        EXPECT_TRUE(node->getIsEnabled());
        EXPECT_EQ(node->getDryMix(), 0.7f);
        EXPECT_EQ(node->getWetMix(), 0.3f);
        EXPECT_EQ(node->getDelayMs(), 200u);
        EXPECT_EQ(node->getFeedbackLevel(), 0.2f);
    }
}

TEST(AudioEffectsNodeFactory, PingPongDelayStartsFromItsDefaultsWhateverTheConfiguration) {
    NodePair nodes = createPair("AudioEffects.PingPongDelay");
    auto* plain = dynamic_cast<PingPongDelayNode*>(nodes.fromEmpty.get());
    auto* configured = dynamic_cast<PingPongDelayNode*>(nodes.fromUnrelated.get());
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(configured, nullptr);
    const std::vector<std::pair<std::string, XVAny>> defaults = {{"enabled", XVAny(true)},
                                                                 {"delayMs", XVAny(200u)},
                                                                 {"dryMix", XVAny(0.7f)},
                                                                 {"wetMix", XVAny(0.3f)},
                                                                 {"feedbackLevel", XVAny(0.2f)}};
    for (PingPongDelayNode* node : {plain, configured}) {
        for (const auto& [key, expected] : defaults) {
            const Result<XVAny> value = node->getValue(key);
            ASSERT_TRUE(value.isOk()) << key << ": " << value.errorMessage();
            EXPECT_EQ(value.value(), expected) << key;
        }
        EXPECT_TRUE(node->getIsEnabled());
        EXPECT_EQ(node->getDelayMs(), 200u);
        EXPECT_EQ(node->getDryMix(), 0.7f);
        EXPECT_EQ(node->getWetMix(), 0.3f);
        EXPECT_EQ(node->getFeedbackLevel(), 0.2f);
    }
}

TEST(AudioEffectsNodeFactory, VibratoStartsFromItsDefaultsWhateverTheConfiguration) {
    NodePair nodes = createPair("AudioEffects.Vibrato");
    auto* plain = dynamic_cast<VibratoNode*>(nodes.fromEmpty.get());
    auto* configured = dynamic_cast<VibratoNode*>(nodes.fromUnrelated.get());
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(configured, nullptr);
    for (VibratoNode* node : {plain, configured}) {
        EXPECT_TRUE(node->getIsEnabled());
        EXPECT_EQ(node->getSweepWidth(), 0.01f);
        EXPECT_EQ(node->getFrequency(), 4.0f);
    }
}

TEST(AudioEffectsNodeFactory, FlangerStartsFromItsDefaultsWhateverTheConfiguration) {
    NodePair nodes = createPair("AudioEffects.Flanger");
    auto* plain = dynamic_cast<FlangerNode*>(nodes.fromEmpty.get());
    auto* configured = dynamic_cast<FlangerNode*>(nodes.fromUnrelated.get());
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(configured, nullptr);
    for (FlangerNode* node : {plain, configured}) {
        EXPECT_TRUE(node->getIsEnabled());
        EXPECT_EQ(node->getSweepWidth(), 0.005f);
        EXPECT_EQ(node->getFrequency(), 0.4f);
    }
}

TEST(AudioEffectsNodeFactory, ChorusStartsFromItsDefaultsWhateverTheConfiguration) {
    NodePair nodes = createPair("AudioEffects.Chorus");
    auto* plain = dynamic_cast<ChorusNode*>(nodes.fromEmpty.get());
    auto* configured = dynamic_cast<ChorusNode*>(nodes.fromUnrelated.get());
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(configured, nullptr);
    for (ChorusNode* node : {plain, configured}) {
        EXPECT_TRUE(node->getIsEnabled());
        EXPECT_EQ(node->getSweepWidth(), 0.025f);
        EXPECT_EQ(node->getFrequency(), 0.2f);
    }
}

TEST(AudioEffectsNodeFactory, DelayAndModulationNodesTakeOneOrTwoChannelsButNotThree) {
    AudioEffectsNodeFactory factory;
    for (const char* type : {"AudioEffects.Delay", "AudioEffects.Vibrato", "AudioEffects.Flanger",
                             "AudioEffects.Chorus"}) {
        for (const XVAnyMap& configuration :
             {XVAnyMap{}, unrelatedAndWronglyTypedConfiguration()}) {
            const std::unique_ptr<Node> node = create(factory, type, configuration);
            ASSERT_NE(node, nullptr);
            EXPECT_TRUE(acceptsChannels(*node, 1)) << type;
            EXPECT_TRUE(acceptsChannels(*node, 2)) << type;
            EXPECT_FALSE(acceptsChannels(*node, 3)) << type;
        }
    }
}

TEST(AudioEffectsNodeFactory, PingPongDelayTakesTwoChannelsOnly) {
    AudioEffectsNodeFactory factory;
    for (const XVAnyMap& configuration : {XVAnyMap{}, unrelatedAndWronglyTypedConfiguration()}) {
        const std::unique_ptr<Node> node =
            create(factory, "AudioEffects.PingPongDelay", configuration);
        ASSERT_NE(node, nullptr);
        EXPECT_FALSE(acceptsChannels(*node, 1));
        EXPECT_TRUE(acceptsChannels(*node, 2));
        EXPECT_FALSE(acceptsChannels(*node, 3));
    }
}

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
        for (const std::string& name : kTypeNames)
            nodes.push_back(create(factory, name, XVAnyMap{}));
    }
    for (const std::unique_ptr<Node>& node : nodes) {
        ASSERT_NE(node, nullptr);
        EXPECT_TRUE(acceptsChannels(*node, 2));
    }
    auto* delay = dynamic_cast<DelayNode*>(nodes[0].get());
    ASSERT_NE(delay, nullptr);
    delay->setDelayMs(300);
    EXPECT_EQ(delay->getDelayMs(), 300u);
}
