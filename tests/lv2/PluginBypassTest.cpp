// The plug-ins' bypass (the lv2:enabled port): a 20 ms crossfade between the processed and
// the dry signal that starts at the first frame of the block in which the port changed, and
// nothing from before a bypass heard after it.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "BundleWorld.h"
#include "PluginInstance.h"
#include "ReferenceNode.h"

namespace ostrana::lv2::testing {

namespace {

constexpr unsigned int kSampleRate = 48000;
constexpr unsigned int kBlock = 256;
constexpr std::size_t kFadeFrames = kSampleRate / 50;  // 20 ms

// Whether the effect is on before a block, by block index.
using Switching = std::function<bool(std::size_t block)>;
// The value of every other control port, by catalogue index.
using Settings = std::function<float(std::size_t control)>;

std::size_t switchIndex(const ExpectedPlugin& expected) {
    const auto& parameters = expected.entry->parameters;
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        if (&parameters[index] == expected.entry->onOffSwitch()) return index;
    }
    ADD_FAILURE() << "no on/off switch";
    return 0;
}

float defaultOf(const ExpectedPlugin& expected, std::size_t control) {
    return portDefaultOf(expected.entry->parameters[control]);
}

// The plug-in's output, planar, run in blocks of kBlock frames on input.
Channels runWith(const ExpectedPlugin& expected, const Channels& input, const Switching& on,
                 const Settings& settings) {
    BundleWorld world;
    PluginInstance plugin(world, expected, kSampleRate);
    const std::size_t total = input[0].size();
    Channels output(expected.channels, std::vector<float>(total));
    if (plugin.instance() == nullptr) return output;
    const std::size_t enabled = switchIndex(expected);
    plugin.activate();
    for (std::size_t offset = 0; offset < total; offset += kBlock) {
        for (std::size_t control = 0; control < expected.entry->parameters.size(); ++control) {
            plugin.control(control) = settings(control);
        }
        plugin.control(enabled) = on(offset / kBlock) ? 1.0f : 0.0f;
        const auto frames =
            static_cast<std::uint32_t>(std::min<std::size_t>(kBlock, total - offset));
        for (unsigned int channel = 0; channel < expected.channels; ++channel) {
            auto* in = const_cast<float*>(input[channel].data() + offset);
            plugin.connectAudio(channel, in, output[channel].data() + offset);
        }
        plugin.run(frames);
    }
    return output;
}

Channels sine(unsigned int channels, std::size_t frames) {
    Channels signal(channels, std::vector<float>(frames));
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double phase = 2 * std::numbers::pi * 440.0 * frame / kSampleRate;
        for (auto& channel : signal) channel[frame] = static_cast<float>(0.5 * std::sin(phase));
    }
    return signal;
}

// The largest sample-to-sample step of any channel over frames [begin, end).
float largestStep(const Channels& signal, std::size_t begin, std::size_t end) {
    float largest = 0.0f;
    for (const auto& channel : signal) {
        for (std::size_t frame = std::max<std::size_t>(begin, 1); frame < end; ++frame) {
            largest = std::max(largest, std::abs(channel[frame] - channel[frame - 1]));
        }
    }
    return largest;
}

bool sameBits(const Channels& a, const Channels& b, std::size_t begin, std::size_t end) {
    for (std::size_t channel = 0; channel < a.size(); ++channel) {
        for (std::size_t frame = begin; frame < end; ++frame) {
            if (std::bit_cast<std::uint32_t>(a[channel][frame]) !=
                std::bit_cast<std::uint32_t>(b[channel][frame])) {
                return false;
            }
        }
    }
    return true;
}

class PluginBypass : public ::testing::TestWithParam<ExpectedPlugin> {};

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST_P(PluginBypass, SwitchingStepsNoFurtherThanTwiceTheSteadyStateOnA440HzSine) {
    const ExpectedPlugin& expected = GetParam();
    const Channels input = asHeard(expected, sine(expected.channels, 4 * kSampleRate));
    const Settings defaults = [&](std::size_t c) { return defaultOf(expected, c); };
    // Off at block 200 (1.07 s), on at 400 (2.13 s), then off at 600 and on again two blocks
    // later, in the middle of the fade.
    const Switching switching = [](std::size_t b) {
        return b < 200 || (b >= 400 && b < 600) || b >= 602;
    };
    const Channels output = runWith(expected, input, switching, defaults);
    const Channels processed = runWith(
        expected, input, [](std::size_t) { return true; }, defaults);

    // Steady states: the processed signal in the second before the first switch, the dry one
    // in the last 0.5 s of the bypass.
    const float steadyOn = largestStep(processed, 200 * kBlock - kSampleRate, 200 * kBlock);
    const float steadyOff = largestStep(output, 400 * kBlock - kSampleRate / 2, 400 * kBlock);
    const float steady = std::max(steadyOn, steadyOff);
    for (std::size_t block : {200u, 400u, 600u}) {
        const std::size_t at = block * kBlock;
        const float step = largestStep(output, at - 480, at + kFadeFrames + 3 * kBlock);
        EXPECT_LE(step, 2 * steady) << "switch at frame " << at << ": step " << step
                                    << ", steady on " << steadyOn << ", off " << steadyOff;
    }
    // The fade starts at the block where the port changed: before it, the output is the
    // effect's own; the fade to dry ends kFadeFrames later, from where the output is the input.
    EXPECT_TRUE(sameBits(output, processed, 0, 200 * kBlock));
    EXPECT_FALSE(sameBits(output, processed, 200 * kBlock, 200 * kBlock + 2));
    EXPECT_FALSE(
        sameBits(output, input, 200 * kBlock + kFadeFrames - 1, 200 * kBlock + kFadeFrames));
    EXPECT_TRUE(sameBits(output, input, 200 * kBlock + kFadeFrames, 400 * kBlock));
}

TEST_P(PluginBypass, ASwitchOffAtTheFirstBlockPassesTheInputExactly) {
    const ExpectedPlugin& expected = GetParam();
    const Channels input = asHeard(expected, makeInput(expected.channels, 8 * kBlock, kSampleRate));
    const Channels output = runWith(
        expected, input, [](std::size_t) { return false; },
        [&](std::size_t c) { return defaultOf(expected, c); });
    EXPECT_TRUE(sameBits(output, input, 0, input[0].size()));
}

// A burst of noise for 0.3 s, then the effect is bypassed for 2 s, then switched on again.
// Settings: the defaults, and every control at its maximum (the longest delay with the most
// feedback, the widest sweep).
void expectNothingFromBeforeTheBypass(const ExpectedPlugin& expected, const Settings& settings) {
    const std::size_t total = 5 * kSampleRate;
    const std::size_t burstEnd = 3 * kSampleRate / 10;
    const std::size_t offBlock = burstEnd / kBlock;
    const std::size_t onBlock = offBlock + 2 * kSampleRate / kBlock;
    std::mt19937 random(7);
    std::uniform_real_distribution<float> noise(-0.8f, 0.8f);
    Channels burst(expected.channels, std::vector<float>(total, 0.0f));
    Channels later = asHeard(expected, makeInput(expected.channels, total, kSampleRate));
    for (std::size_t frame = 0; frame < burstEnd; ++frame) {
        for (unsigned int channel = 0; channel < expected.channels; ++channel) {
            burst[channel][frame] = channel < expected.inputs() ? noise(random) : burst[0][frame];
            later[channel][frame] = 0.0f;
        }
    }
    // The same signal after the burst, with and without the burst.
    Channels burstThenLater = later;
    for (unsigned int channel = 0; channel < expected.channels; ++channel) {
        std::copy_n(burst[channel].begin(), burstEnd, burstThenLater[channel].begin());
    }
    const Switching switching = [&](std::size_t b) { return b < offBlock || b >= onBlock; };
    const std::size_t onFrame = onBlock * kBlock;

    // Silence after the burst: after the bypass, the output is silent to the last bit.
    const Channels afterBurst = runWith(expected, burst, switching, settings);
    for (unsigned int channel = 0; channel < expected.channels; ++channel) {
        const auto loud = std::find_if(afterBurst[channel].begin() + onFrame,
                                       afterBurst[channel].end(), [](float s) { return s != 0; });
        EXPECT_EQ(loud, afterBurst[channel].end())
            << "channel " << channel << ": " << *loud << " at frame "
            << (loud - afterBurst[channel].begin());
    }
    // Other audio after the burst: after the bypass, the output is the same as if the burst
    // had never been played.
    const Channels withBurst = runWith(expected, burstThenLater, switching, settings);
    const Channels withoutBurst = runWith(expected, later, switching, settings);
    EXPECT_TRUE(sameBits(withBurst, withoutBurst, onFrame, total));
    // Before the bypass, the burst did go through the effect.
    EXPECT_FALSE(sameBits(withBurst, withoutBurst, 0, offBlock * kBlock));
}

TEST_P(PluginBypass, NothingFromBeforeATwoSecondBypassIsHeardAfterIt) {
    const ExpectedPlugin& expected = GetParam();
    {
        SCOPED_TRACE("defaults");
        expectNothingFromBeforeTheBypass(expected,
                                         [&](std::size_t c) { return defaultOf(expected, c); });
    }
    {
        SCOPED_TRACE("maxima");
        expectNothingFromBeforeTheBypass(expected, [&](std::size_t c) {
            const auto& parameter = expected.entry->parameters[c];
            return portValueOf(parameter, parameter.maximum);
        });
    }
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginBypass, ::testing::ValuesIn(expectedPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
