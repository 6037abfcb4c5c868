#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsExtension.h>
#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/extension/ExpectedNodeTypes.h"
#include "audioeffects/extension/LoadedExtensions.h"

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;
using ostrana::testing::expectedEffectNodeTypes;
using ostrana::testing::expectedEffectTypeNames;
using ostrana::testing::nodeTypeDifferences;

namespace {

const char* const kDescription = "Basic audio effects such as delay, chorus, flanger, and vibrato.";

std::vector<std::string> typeNames(NodeFactory& factory) {
    std::vector<std::string> names;
    for (const NodeTypeInfo& info : factory.getNodeTypes()) names.push_back(info.getFQTypeName());
    return names;
}

}  // namespace

TEST(AudioEffectsExtension, IsNamedAudioEffects) {
    AudioEffectsExtension extension;
    EXPECT_EQ(extension.getName(), "AudioEffects");
    EXPECT_EQ(extension.getName(), "AudioEffects");
}

TEST(AudioEffectsExtension, DescriptionIsTheExact64CharacterSentence) {
    AudioEffectsExtension extension;
    const std::string description = extension.getDescription();
    EXPECT_EQ(description, kDescription);
    EXPECT_EQ(description.size(), 64u);
    EXPECT_EQ(description.back(), '.');
}

TEST(AudioEffectsExtension, IsAnObjectOfTypeExtension) {
    AudioEffectsExtension extension;
    EXPECT_EQ(extension.getObjectType(), "extension");
    EXPECT_TRUE(extension.getProperties().empty());
}

TEST(AudioEffectsExtension, InitializeAndDeinitializeSucceedAndChangeNothing) {
    AudioEffectsExtension extension;
    EXPECT_TRUE(extension.initialize(XVAnyMap{}).isOk());
    EXPECT_TRUE(extension
                    .initialize(XVAnyMap{{"name", XVAny("Other")},
                                         {"description", XVAny(3)},
                                         {"nested", XVAny(XVAnyMap{{"x", XVAny(1.5f)}})}})
                    .isOk());
    EXPECT_TRUE(extension.deinitialize().isOk());
    EXPECT_TRUE(extension.deinitialize().isOk());
    EXPECT_EQ(extension.getName(), "AudioEffects");
    EXPECT_EQ(extension.getDescription(), kDescription);
    EXPECT_TRUE(extension.getProperties().empty());
    const std::vector<NodeTypeInfo> types = extension.getNodeFactory()->getNodeTypes();
    EXPECT_EQ(types.size(), expectedEffectNodeTypes(types).size());
    EXPECT_GE(types.size(), expectedEffectNodeTypes().size());
}

TEST(AudioEffectsExtension, EveryFactoryRequestGivesANewCompleteFactory) {
    AudioEffectsExtension extension;
    const std::shared_ptr<NodeFactory> first = extension.getNodeFactory();
    const std::shared_ptr<NodeFactory> second = extension.getNodeFactory();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    // The caller's pointer is the only owner: the extension keeps none.
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 1);
    EXPECT_NE(std::dynamic_pointer_cast<AudioEffectsNodeFactory>(first), nullptr);
    EXPECT_NE(std::dynamic_pointer_cast<AudioEffectsNodeFactory>(second), nullptr);

    const std::vector<NodeTypeInfo> types = second->getNodeTypes();
    const std::vector<std::string> expectedNames = expectedEffectTypeNames(types);
    EXPECT_EQ(typeNames(*first), expectedNames);
    EXPECT_EQ(typeNames(*second), expectedNames);
    const std::vector<NodeTypeInfo> expected = expectedEffectNodeTypes(types);
    ASSERT_EQ(types.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(nodeTypeDifferences(types[i], expected[i]), "") << expected[i].getFQTypeName();
    }
}

TEST(AudioEffectsExtension, FactoryOutlivesTheExtension) {
    std::shared_ptr<NodeFactory> factory;
    {
        AudioEffectsExtension extension;
        factory = extension.getNodeFactory();
    }
    EXPECT_EQ(factory->getNodeTypePrefix(), "AudioEffects");
    const auto node = factory->createNode("AudioEffects.Flanger", XVAnyMap{});
    EXPECT_TRUE(node.isOk()) << node.errorMessage();
}

TEST(AudioEffectsExtension, LinkingTheLibraryRegisteredAnAudioEffectsExtension) {
    const std::shared_ptr<Extension> registered =
        ExtensionManager::getInstance().findExtension("AudioEffects");
    ASSERT_NE(registered, nullptr);
    EXPECT_NE(std::dynamic_pointer_cast<AudioEffectsExtension>(registered), nullptr);
    const auto node = ExtensionManager::getInstance().createNode("AudioEffects.Chorus", XVAnyMap{});
    ASSERT_TRUE(node.isOk()) << node.errorMessage();
    EXPECT_NE(node.value(), nullptr);
}

TEST(AudioEffectsExtension, EachLoadRegistersAFurtherDistinctExtension) {
    ExtensionManager& manager = ExtensionManager::getInstance();
    const std::vector<std::shared_ptr<Extension>> before = manager.getExtensions();
    AudioEffectsExtension::load();
    const std::vector<std::shared_ptr<Extension>> after = manager.getExtensions();
    ASSERT_EQ(after.size(), before.size() + 1);
    const std::shared_ptr<Extension>& added = after.back();
    EXPECT_NE(std::dynamic_pointer_cast<AudioEffectsExtension>(added), nullptr);
    for (const std::shared_ptr<Extension>& earlier : before) EXPECT_NE(added, earlier);
    // The manager's reference and the copy in after.
    EXPECT_EQ(added.use_count(), 2);
}
