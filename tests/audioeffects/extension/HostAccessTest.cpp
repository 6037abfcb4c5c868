#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include <ostrana/audioeffects/AudioEffectsExtension.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/HostAccess.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;

namespace {

std::unique_ptr<Node> created(const std::string& type) {
    auto node = ExtensionManager::getInstance().createNode(type, XVAnyMap{});
    EXPECT_TRUE(node.isOk()) << type << ": " << node.errorMessage();
    return node.isOk() ? std::move(node).value() : nullptr;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int audioEffectsRegistrations() {
    int count = 0;
    for (const auto& extension : ExtensionManager::getInstance().getExtensions()) {
        if (std::dynamic_pointer_cast<AudioEffectsExtension>(extension)) ++count;
    }
    return count;
}

}  // namespace

TEST(HostAccess, RegisterWithAddsNothingWhereTheExtensionIsRegistered) {
    // Loading the library registered one; a test of load() run earlier in the same process
    // may have registered more, so the count is compared with itself.
    const int registered = audioEffectsRegistrations();
    ASSERT_GE(registered, 1);
    EXPECT_TRUE(registerWith(ExtensionManager::getInstance()).isOk());
    EXPECT_TRUE(registerWith(ExtensionManager::getInstance()).isOk());
    EXPECT_EQ(audioEffectsRegistrations(), registered);
}

TEST(HostAccess, CreatesEveryNodeTypeByItsShortName) {
    EXPECT_NE(dynamic_cast<DelayNode*>(created("delay").get()), nullptr);
    EXPECT_NE(dynamic_cast<PingPongDelayNode*>(created("ping-pong-delay").get()), nullptr);
    EXPECT_NE(dynamic_cast<PingPongDelayNode*>(created("PingPongDelay").get()), nullptr);
    EXPECT_NE(dynamic_cast<ChorusNode*>(created("Chorus").get()), nullptr);
    EXPECT_NE(dynamic_cast<ChorusNode*>(created("audioeffects.chorus").get()), nullptr);
    EXPECT_TRUE(created("flanger"));
    EXPECT_TRUE(created("VIBRATO"));
}

TEST(HostAccess, SetsParametersFromAnyNumberType) {
    auto node = created("AudioEffects.Delay");
    auto& delay = dynamic_cast<DelayNode&>(*node);
    ASSERT_TRUE(setParameter(*node, "delayMs", 350).isOk());
    EXPECT_EQ(delay.getDelayMs(), 350u);
    ASSERT_TRUE(setParameter(*node, "delayMs", std::uint64_t{420}).isOk());
    EXPECT_EQ(delay.getDelayMs(), 420u);
    ASSERT_TRUE(setParameter(*node, "delayMs", 500.0).isOk());
    EXPECT_EQ(delay.getDelayMs(), 500u);
    ASSERT_TRUE(setParameter(*node, "feedbackLevel", 0.4).isOk());
    EXPECT_EQ(delay.getFeedbackLevel(), 0.4f);
    ASSERT_TRUE(setParameter(*node, "wetMix", 0.25f).isOk());
    EXPECT_EQ(delay.getWetMix(), 0.25f);
    ASSERT_TRUE(setParameter(*node, "dryMix", 1).isOk());
    EXPECT_EQ(delay.getDryMix(), 1.0f);
    ASSERT_TRUE(setParameter(*node, "enabled", false).isOk());
    EXPECT_FALSE(delay.getIsEnabled());
    ASSERT_TRUE(setParameter(*node, "enabled", 1).isOk());
    EXPECT_TRUE(delay.getIsEnabled());
}

TEST(HostAccess, ReadsBackWhatWasWrittenExactly) {
    auto node = created("chorus");
    ASSERT_TRUE(setParameter(*node, "frequency", 0.3).isOk());
    EXPECT_EQ(getParameter(*node, "frequency").value(), static_cast<double>(0.3f));
    ASSERT_TRUE(setParameter(*node, "enabled", false).isOk());
    EXPECT_EQ(getParameter(*node, "enabled").value(), 0.0);
    auto delay = created("delay");
    EXPECT_EQ(getParameter(*delay, "delayMs").value(), 200.0);
}

TEST(HostAccess, RefusesAnUnknownNameAndChangesNothing) {
    auto node = created("delay");
    const auto result = setParameter(*node, "bogus", 1);
    ASSERT_FALSE(result.isOk());
    EXPECT_TRUE(contains(result.errorMessage(), "AudioEffects.Delay has no parameter 'bogus'"))
        << result.errorMessage();
    EXPECT_TRUE(contains(result.errorMessage(), "delayMs")) << result.errorMessage();
    EXPECT_FALSE(getParameter(*node, "DelayMs").isOk());  // names are exact, case included
}

TEST(HostAccess, RefusesValuesOutsideTheRangeAndChangesNothing) {
    auto node = created("delay");
    for (const double refused : {0.0, 1001.0, -1.0, 350.5, 1e12}) {
        const auto result = setParameter(*node, "delayMs", refused);
        EXPECT_FALSE(result.isOk()) << refused;
    }
    EXPECT_TRUE(contains(setParameter(*node, "delayMs", 5000).errorMessage(), "1 to 1000 ms"));
    EXPECT_TRUE(contains(setParameter(*node, "delayMs", 350.5).errorMessage(), "whole number"));
    EXPECT_FALSE(setParameter(*node, "feedbackLevel", 1.5).isOk());
    EXPECT_FALSE(setParameter(*node, "feedbackLevel", -0.0001).isOk());
    EXPECT_FALSE(setParameter(*node, "feedbackLevel", std::nan("")).isOk());
    EXPECT_FALSE(setParameter(*node, "wetMix", std::numeric_limits<double>::infinity()).isOk());
    EXPECT_FALSE(setParameter(*node, "enabled", 2).isOk());
    EXPECT_FALSE(setParameter(*node, "delayMs", true).isOk());
    EXPECT_EQ(getParameter(*node, "delayMs").value(), 200.0);
    EXPECT_EQ(getParameter(*node, "feedbackLevel").value(), static_cast<double>(0.2f));
    EXPECT_EQ(getParameter(*node, "wetMix").value(), static_cast<double>(0.3f));
    EXPECT_EQ(getParameter(*node, "enabled").value(), 1.0);
}

TEST(HostAccess, RefusesANodeOfAnotherExtension) {
    Node plain;
    const auto result = setParameter(plain, "delayMs", 350);
    ASSERT_FALSE(result.isOk());
    EXPECT_TRUE(contains(result.errorMessage(), "not one of the extension's node types"));
    EXPECT_FALSE(getParameter(plain, "delayMs").isOk());
}
