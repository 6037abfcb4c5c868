// The delay plug-ins keep their time at every sample rate: instantiated at a rate, an impulse
// comes back delayMs later, trunc(rate * ms / 1000) frames, in every channel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"
#include "PluginInstance.h"

namespace ostrana::lv2::testing {

namespace {

constexpr unsigned int kRates[] = {44100, 48000, 88200, 96000, 192000, 384000};
constexpr unsigned int kBlock = 4096;

// The stereo plug-in of the catalogue type with this short name.
ExpectedPlugin stereoPlugin(std::string_view shortName) {
    for (const ExpectedPlugin& plugin : expectedPlugins()) {
        if (plugin.entry->shortName == shortName && plugin.channels == 2) return plugin;
    }
    ADD_FAILURE() << "no stereo plug-in " << shortName;
    return {};
}

// Sets the control of the parameter with this name.
void setControl(PluginInstance& plugin, const ExpectedPlugin& expected, std::string_view name,
                float value) {
    const auto& parameters = expected.entry->parameters;
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        if (parameters[index].name == name) {
            plugin.control(index) = value;
            return;
        }
    }
    ADD_FAILURE() << "no control " << name;
}

void expectEchoAfter(std::string_view shortName, unsigned int sampleRate, unsigned int delayMs) {
    SCOPED_TRACE(std::string(shortName) + " at " + std::to_string(sampleRate) + " Hz, " +
                 std::to_string(delayMs) + " ms");
    const ExpectedPlugin expected = stereoPlugin(shortName);
    ASSERT_NE(expected.entry, nullptr);
    BundleWorld world;
    PluginInstance plugin(world, expected, sampleRate);
    ASSERT_NE(plugin.instance(), nullptr);
    for (const auto& [name, value] : {std::pair<std::string_view, float>{"enabled", 1.0f},
                                      {"dryMix", 0.0f},
                                      {"wetMix", 1.0f},
                                      {"feedbackLevel", 0.0f}}) {
        setControl(plugin, expected, name, value);
    }
    setControl(plugin, expected, "delayMs", static_cast<float>(delayMs));
    plugin.activate();

    const auto distance = static_cast<unsigned int>(std::uint64_t{sampleRate} * delayMs / 1000);
    const unsigned int frames = distance + 1000;
    std::vector<float> inputs[2];
    std::vector<float> outputs[2];
    for (unsigned int channel = 0; channel < 2; ++channel) {
        inputs[channel].assign(kBlock, 0.0f);
        outputs[channel].assign(kBlock, 0.0f);
        plugin.connectAudio(channel, inputs[channel].data(), outputs[channel].data());
    }
    for (unsigned int start = 0; start < frames; start += kBlock) {
        const unsigned int length = std::min(kBlock, frames - start);
        for (std::vector<float>& input : inputs) {
            std::fill(input.begin(), input.end(), 0.0f);
            if (start == 0) input[0] = 1.0f;
        }
        plugin.run(length);
        for (unsigned int channel = 0; channel < 2; ++channel) {
            for (unsigned int frame = 0; frame < length; ++frame) {
                const float wanted = start + frame == distance ? 1.0f : 0.0f;
                ASSERT_EQ(outputs[channel][frame], wanted)
                    << "channel " << channel << ", frame " << start + frame;
            }
        }
    }
    plugin.deactivate();
}

TEST(PluginEchoAtEveryRate, DelayEchoesAfterItsTimeAtEveryRate) {
    for (const unsigned int rate : kRates) {
        for (const unsigned int delayMs : {1u, 350u, 1000u})
            expectEchoAfter("delay", rate, delayMs);
    }
}

TEST(PluginEchoAtEveryRate, PingPongDelayEchoesAfterItsTimeAtEveryRate) {
    for (const unsigned int rate : kRates) {
        for (const unsigned int delayMs : {350u, 1000u}) {
            expectEchoAfter("ping-pong-delay", rate, delayMs);
        }
    }
}

}  // namespace

}  // namespace ostrana::lv2::testing
