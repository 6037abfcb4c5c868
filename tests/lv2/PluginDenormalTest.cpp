// An echo that decays forever in exact arithmetic must still fall silent: the plug-ins flush
// subnormal numbers to zero while they run, and give the host its floating-point mode back.
#include <gtest/gtest.h>

#if defined(__x86_64__) || defined(__SSE2__)
#include <xmmintrin.h>
#endif

#include <algorithm>
#include <string>
#include <vector>

#include "BundleWorld.h"
#include "PluginInstance.h"

namespace ostrana::lv2::testing {

namespace {

constexpr unsigned int kSampleRate = 48000;
constexpr unsigned int kBlock = 4096;

std::vector<ExpectedPlugin> delayPlugins() {
    std::vector<ExpectedPlugin> delays;
    for (const ExpectedPlugin& plugin : expectedPlugins()) {
        if (plugin.entry->findParameter("feedbackLevel") != nullptr) delays.push_back(plugin);
    }
    return delays;
}

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

class PluginDenormals : public ::testing::TestWithParam<ExpectedPlugin> {};

TEST_P(PluginDenormals, TheShortestDelayAtMostFeedbackFallsToExactSilence) {
    const ExpectedPlugin& expected = GetParam();
    BundleWorld world;
    PluginInstance plugin(world, expected, kSampleRate);
    ASSERT_NE(plugin.instance(), nullptr);
    const auto& parameters = expected.entry->parameters;
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        if (parameters[index].name == "delayMs") plugin.control(index) = 1.0f;
        if (parameters[index].name == "feedbackLevel") plugin.control(index) = 0.99f;
    }
    std::vector<std::vector<float>> input(expected.channels, std::vector<float>(kBlock, 0.0f));
    std::vector<std::vector<float>> output(expected.channels, std::vector<float>(kBlock));
    for (unsigned int channel = 0; channel < expected.channels; ++channel) {
        plugin.connectAudio(channel, input[channel].data(), output[channel].data());
    }
    plugin.activate();
    // An impulse, then 60 s of silence. The echo passes the smallest normal float after
    // about 9 s (0.99 to the 8700th, an echo a millisecond).
    for (auto& channel : input) channel[0] = 1.0f;
    const std::size_t blocks = 60 * kSampleRate / kBlock;
    std::size_t lastSound = 0;
    for (std::size_t block = 0; block < blocks; ++block) {
#if defined(__x86_64__) || defined(__SSE2__)
        const unsigned int before = _mm_getcsr();
        plugin.run(kBlock);
        EXPECT_EQ(_mm_getcsr(), before) << "block " << block;
#else
        plugin.run(kBlock);
#endif
        for (auto& channel : input) channel[0] = 0.0f;
        for (const auto& channel : output) {
            if (std::any_of(channel.begin(), channel.end(), [](float s) { return s != 0.0f; })) {
                lastSound = block;
            }
        }
    }
    const double silentFrom = static_cast<double>((lastSound + 1) * kBlock) / kSampleRate;
    EXPECT_LT(silentFrom, 30.0) << "the last non-zero sample came in the block ending at "
                                << silentFrom << " s";
    EXPECT_GT(silentFrom, 1.0) << "the echo stopped too early to be the echo";
}

INSTANTIATE_TEST_SUITE_P(EveryDelay, PluginDenormals, ::testing::ValuesIn(delayPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
