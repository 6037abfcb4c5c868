// Control values a host may pass whatever the ports' ranges say: not a number, infinities and
// values far outside the range, for one block. The plug-in must keep its output finite and
// behave exactly as an instance given the value it stands for: the previous value for not a
// number and the infinities, the nearer end of the range for the others. "Exactly" is bit for
// bit over the whole run, against a second instance fed the same input from the same moment,
// so the delay lines' state is compared too.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "BundleWorld.h"
#include "PluginInstance.h"
#include "ReferenceNode.h"

namespace ostrana::lv2::testing {

namespace {

constexpr unsigned int kSampleRate = 48000;
constexpr unsigned int kBlock = 256;
constexpr std::size_t kBlocks = 120;
constexpr std::size_t kOddBlock = 20;

// The value a control port takes before each block.
using ControlSchedule = std::function<float(std::size_t control, std::size_t block)>;

// The plug-in's output, planar, for kBlocks blocks of the run tests' input.
Channels runWith(const BundleWorld& world, const ExpectedPlugin& expected,
                 const ControlSchedule& schedule) {
    PluginInstance plugin(world, expected, kSampleRate);
    const std::size_t total = kBlock * kBlocks;
    const Channels input = makeInput(expected.channels, total, kSampleRate);
    Channels output(expected.channels, std::vector<float>(total));
    if (plugin.instance() == nullptr) return output;
    plugin.activate();
    for (std::size_t block = 0; block < kBlocks; ++block) {
        for (std::size_t control = 0; control < expected.entry->parameters.size(); ++control) {
            plugin.control(control) = schedule(control, block);
        }
        for (unsigned int channel = 0; channel < expected.channels; ++channel) {
            // lilv's run takes the buffers as non-const; the plug-in only reads the inputs.
            auto* in = const_cast<float*>(input[channel].data() + block * kBlock);
            plugin.connectAudio(channel, in, output[channel].data() + block * kBlock);
        }
        plugin.run(kBlock);
    }
    plugin.deactivate();
    return output;
}

struct PortRange {
    float defaultValue;
    float minimum;
    float maximum;
};

// Each control port's range as the plug-in's Turtle gives it, in catalogue order.
std::vector<PortRange> rangesOf(const BundleWorld& world, const ExpectedPlugin& expected) {
    std::vector<PortRange> ranges;
    const LilvPlugin* plugin = world.plugin(expected.uri);
    for (const auto& parameter : expected.entry->parameters) {
        LilvNode* symbol = lilv_new_string(world.world(), std::string(parameter.name).c_str());
        const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin, symbol);
        lilv_node_free(symbol);
        LilvNode* values[3] = {nullptr, nullptr, nullptr};
        if (port != nullptr) lilv_port_get_range(plugin, port, &values[0], &values[1], &values[2]);
        ranges.push_back({values[0] ? lilv_node_as_float(values[0]) : NAN,
                          values[1] ? lilv_node_as_float(values[1]) : NAN,
                          values[2] ? lilv_node_as_float(values[2]) : NAN});
        for (LilvNode* value : values) lilv_node_free(value);
    }
    return ranges;
}

long firstBitDifference(const Channels& a, const Channels& b) {
    for (std::size_t channel = 0; channel < a.size(); ++channel) {
        for (std::size_t frame = 0; frame < a[channel].size(); ++frame) {
            if (std::bit_cast<std::uint32_t>(a[channel][frame]) !=
                std::bit_cast<std::uint32_t>(b[channel][frame])) {
                return static_cast<long>(frame);
            }
        }
    }
    return -1;
}

long firstNonFinite(const Channels& output) {
    for (const auto& channel : output) {
        for (std::size_t frame = 0; frame < channel.size(); ++frame) {
            if (!std::isfinite(channel[frame])) return static_cast<long>(frame);
        }
    }
    return -1;
}

// An odd value and what the plug-in must take it for, given the port's range.
struct OddValue {
    const char* name;
    float value;
    float (*standsFor)(const PortRange& range);
};

const OddValue kOddValues[] = {
    {"nan", std::numeric_limits<float>::quiet_NaN(),
     [](const PortRange& r) { return r.defaultValue; }},
    {"+inf", std::numeric_limits<float>::infinity(),
     [](const PortRange& r) { return r.defaultValue; }},
    {"-inf", -std::numeric_limits<float>::infinity(),
     [](const PortRange& r) { return r.defaultValue; }},
    {"1e9", 1e9f, [](const PortRange& r) { return r.maximum; }},
    {"-1e9", -1e9f, [](const PortRange& r) { return r.minimum; }},
};

class PluginControls : public ::testing::TestWithParam<ExpectedPlugin> {};

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST_P(PluginControls, AnOddValueForOneBlockActsAsTheValueItStandsForAndOutputStaysFinite) {
    const ExpectedPlugin& expected = GetParam();
    BundleWorld world;
    const std::vector<PortRange> ranges = rangesOf(world, expected);
    const std::size_t controls = ranges.size();
    // Each control on its own, then all of them at once (index controls).
    for (std::size_t odd = 0; odd <= controls; ++odd) {
        for (const OddValue& value : kOddValues) {
            SCOPED_TRACE((odd == controls ? std::string("every control")
                                          : std::string(expected.entry->parameters[odd].name)) +
                         " = " + value.name);
            const auto hit = [&](std::size_t control, std::size_t block) {
                return block == kOddBlock && (odd == controls || odd == control);
            };
            const Channels oddRun = runWith(world, expected, [&](std::size_t c, std::size_t b) {
                return hit(c, b) ? value.value : ranges[c].defaultValue;
            });
            const Channels plainRun = runWith(world, expected, [&](std::size_t c, std::size_t b) {
                return hit(c, b) ? value.standsFor(ranges[c]) : ranges[c].defaultValue;
            });
            EXPECT_EQ(firstNonFinite(oddRun), -1);
            EXPECT_EQ(firstBitDifference(oddRun, plainRun), -1);
        }
    }
}

TEST_P(PluginControls, AHostsValueOutsideTheRangeIsHeldAtItsEnd) {
    // The delays' feedback above 1 grew without bound before: held at its maximum, the echo
    // decays.
    const ExpectedPlugin& expected = GetParam();
    BundleWorld world;
    const std::vector<PortRange> ranges = rangesOf(world, expected);
    for (std::size_t odd = 0; odd < ranges.size(); ++odd) {
        SCOPED_TRACE(std::string(expected.entry->parameters[odd].name));
        const float span = ranges[odd].maximum - ranges[odd].minimum;
        const auto run = [&](float above, float below) {
            return runWith(world, expected, [&](std::size_t c, std::size_t b) {
                if (c != odd) return ranges[c].defaultValue;
                return b % 2 == 0 ? ranges[odd].maximum + above : ranges[odd].minimum - below;
            });
        };
        EXPECT_EQ(firstBitDifference(run(span / 2, span / 2), run(0.0f, 0.0f)), -1);
    }
}

TEST_P(PluginControls, IntegerPortsRoundAndTogglesAreOnAboveZero) {
    const ExpectedPlugin& expected = GetParam();
    BundleWorld world;
    const std::vector<PortRange> ranges = rangesOf(world, expected);
    const auto& parameters = expected.entry->parameters;
    for (std::size_t odd = 0; odd < parameters.size(); ++odd) {
        using extensions::audioeffects::ParameterKind;
        if (parameters[odd].kind == ParameterKind::RealNumber) continue;
        SCOPED_TRACE(std::string(parameters[odd].name));
        // Pairs of (value written, value it must act as), each for one block in turn.
        std::vector<std::pair<float, float>> cases;
        if (parameters[odd].kind == ParameterKind::WholeNumber) {
            const float low = ranges[odd].minimum;
            cases = {{low + 10.4f, low + 10.0f},
                     {low + 10.6f, low + 11.0f},
                     {low + 99.5f, low + 100.0f},
                     {low + 0.49f, low}};
        } else {
            cases = {{0.4f, 1.0f}, {0.0f, 0.0f}, {1e-30f, 1.0f}, {-0.5f, 0.0f}, {2.0f, 1.0f}};
        }
        const auto run = [&](bool written) {
            return runWith(world, expected, [&](std::size_t c, std::size_t b) {
                if (c != odd || b < 10) return ranges[c].defaultValue;
                const auto& pair = cases[(b / 10) % cases.size()];
                return written ? pair.first : pair.second;
            });
        };
        const Channels asWritten = run(true);
        EXPECT_EQ(firstBitDifference(asWritten, run(false)), -1);
        EXPECT_EQ(firstNonFinite(asWritten), -1);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginControls, ::testing::ValuesIn(expectedPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
