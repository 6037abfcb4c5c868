// Delay-time automation in a host: the delay plug-ins start with a glide of 50 ms, so that a
// ramp of the delay time in steps, one a block, moves the echo without clicks; a glide of 0
// gives the library's jump.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"
#include "PluginInstance.h"

namespace ostrana::lv2::testing {

namespace {

constexpr unsigned int kRate = 48000;
constexpr unsigned int kBlock = 256;
// 200 ms for 150 blocks (0.8 s), then 1 ms more each block up to 400 ms, held for 150 blocks.
constexpr unsigned int kSteadyBlocks = 150;
constexpr unsigned int kBlocks = kSteadyBlocks + 200 + kSteadyBlocks;

float rampedDelay(unsigned int block) {
    if (block < kSteadyBlocks) return 200.0f;
    return static_cast<float>(std::min(400u, 200u + (block - kSteadyBlocks + 1)));
}

std::vector<ExpectedPlugin> glidingPlugins() {
    std::vector<ExpectedPlugin> plugins;
    for (const ExpectedPlugin& plugin : expectedPlugins()) {
        const bool glidesItsDelayTime = plugin.entry->findParameter("glide") != nullptr &&
                                        plugin.entry->findParameter("delayMs") != nullptr;
        if (glidesItsDelayTime) plugins.push_back(plugin);
    }
    return plugins;
}

std::size_t controlIndex(const ExpectedPlugin& expected, std::string_view name) {
    const auto& parameters = expected.entry->parameters;
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        if (parameters[index].name == name) return index;
    }
    ADD_FAILURE() << "no control " << name;
    return 0;
}

// The plug-in's output, each channel one after the other, for a 440 Hz sine of amplitude 0.5
// in every input while the host ramps the delay time; glideMs < 0 leaves the glide at the
// plug-in's default.
std::vector<float> rampOutput(const ExpectedPlugin& expected, float glideMs) {
    BundleWorld world;
    PluginInstance plugin(world, expected, kRate);
    if (plugin.instance() == nullptr) return {};
    if (glideMs >= 0.0f) plugin.control(controlIndex(expected, "glide")) = glideMs;
    const std::size_t delayControl = controlIndex(expected, "delayMs");
    std::vector<std::vector<float>> inputs(expected.channels, std::vector<float>(kBlock));
    std::vector<std::vector<float>> outputs(expected.channels, std::vector<float>(kBlock));
    for (unsigned int channel = 0; channel < expected.channels; ++channel) {
        plugin.connectAudio(channel, inputs[channel].data(), outputs[channel].data());
    }
    plugin.activate();
    std::vector<float> heard(std::size_t{kBlocks} * kBlock * expected.channels);
    for (unsigned int block = 0; block < kBlocks; ++block) {
        plugin.control(delayControl) = rampedDelay(block);
        for (unsigned int frame = 0; frame < kBlock; ++frame) {
            const double t = static_cast<double>(block * kBlock + frame) / kRate;
            const auto x = static_cast<float>(0.5 * std::sin(2.0 * std::numbers::pi * 440.0 * t));
            for (auto& input : inputs) input[frame] = x;
        }
        plugin.run(kBlock);
        for (unsigned int channel = 0; channel < expected.channels; ++channel) {
            std::copy(outputs[channel].begin(), outputs[channel].end(),
                      heard.begin() + (std::size_t{channel} * kBlocks + block) * kBlock);
        }
    }
    return heard;
}

// The largest sample-to-sample step of any channel between two blocks.
float largestStep(const std::vector<float>& heard, unsigned int channels, unsigned int firstBlock,
                  unsigned int endBlock) {
    float largest = 0.0f;
    for (unsigned int channel = 0; channel < channels; ++channel) {
        const std::size_t base = std::size_t{channel} * kBlocks * kBlock;
        for (std::size_t f = base + firstBlock * kBlock + 1; f < base + endBlock * kBlock; ++f) {
            largest = std::max(largest, std::abs(heard[f] - heard[f - 1]));
        }
    }
    return largest;
}

class PluginGlide : public ::testing::TestWithParam<ExpectedPlugin> {};

TEST_P(PluginGlide, DelayTimeRampInStepsGivesNoStepLargerThanTwiceTheSteadyOnes) {
    const ExpectedPlugin& expected = GetParam();
    const std::vector<float> glided = rampOutput(expected, -1.0f);
    const std::vector<float> jumped = rampOutput(expected, 0.0f);
    ASSERT_FALSE(glided.empty());
    ASSERT_FALSE(jumped.empty());
    // Steady: the last 60 blocks (0.32 s) before the ramp, once the echoes have built up.
    const float steady = largestStep(glided, expected.channels, kSteadyBlocks - 60, kSteadyBlocks);
    const float withGlide = largestStep(glided, expected.channels, kSteadyBlocks, kBlocks);
    const float withJumps = largestStep(jumped, expected.channels, kSteadyBlocks, kBlocks);
    std::printf("%s: largest step steady %.4f, ramp at the default glide %.4f, at glide 0 %.4f\n",
                expected.label().c_str(), steady, withGlide, withJumps);
    EXPECT_LE(withGlide, 2.0f * steady);
    EXPECT_GT(withJumps, 2.0f * steady);
}

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

INSTANTIATE_TEST_SUITE_P(Delays, PluginGlide, ::testing::ValuesIn(glidingPlugins()), pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
