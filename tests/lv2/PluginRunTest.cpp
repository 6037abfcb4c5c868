// Every plug-in run in process through lilv, compared bit for bit with a node of its type run
// through the host library on the same blocks and control values: block sizes 1, 7, 64 and
// 4096 (and 0, and one longer than the plug-in's chunk), in place, out of place and, for
// stereo, with each output sharing the other channel's input buffer. run() must not touch the
// heap.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "BundleWorld.h"
#include "PluginInstance.h"
#include "ReferenceNode.h"
#include "audioeffects/nodes/AllocationCounter.h"

namespace ostrana::lv2::testing {

namespace {

using ostrana::testing::HeapTraffic;
using ostrana::testing::measureHeapTraffic;

enum class Buffers { OutOfPlace, InPlace, CrossAliased };

constexpr unsigned int kBlockSizes[] = {1, 7, 64, 4096, 0, 7, 1, 10000, 64, 4096, 1, 7};
constexpr unsigned int kSampleRate = 48000;

std::size_t totalFrames() {
    std::size_t total = 0;
    for (unsigned int frames : kBlockSizes) total += frames;
    return total;
}

double numberOf(const extensions::audioeffects::ParameterValue& value) {
    return std::visit([](auto v) { return static_cast<double>(v); }, value);
}

// The control value of a parameter before a block: it changes every third block, through the
// default, the maximum, the middle and the minimum of the parameter's range in turn. The
// on/off switch stays on: switching it crossfades to the dry input, which the node does not do
// (PluginBypassTest covers it).
float controlValue(const extensions::audioeffects::ParameterDefinition& parameter,
                   std::size_t parameterIndex, std::size_t block) {
    if (parameter.kind == extensions::audioeffects::ParameterKind::Switch) return 1.0f;
    const double low = numberOf(parameter.minimum);
    const double high = numberOf(parameter.maximum);
    const double choices[] = {numberOf(parameter.defaultValue), high, (low + high) / 2, low};
    return static_cast<float>(choices[(block / 3 + parameterIndex) % 4]);
}

// Where each channel's samples go in and come out of the plug-in for one block.
struct BlockBuffers {
    Channels first;
    Channels second;

    BlockBuffers(unsigned int channels, std::size_t frames)
        : first(channels, std::vector<float>(frames)),
          second(channels, std::vector<float>(frames)) {}

    // Fills the input buffers and connects the plug-in's ports; returns, per channel, where the
    // output will be.
    std::vector<float*> connect(PluginInstance& plugin, Buffers mode, const Channels& input,
                                std::size_t offset, unsigned int frames) {
        const unsigned int channels = static_cast<unsigned int>(first.size());
        std::vector<float*> outputs(channels);
        for (unsigned int channel = 0; channel < channels; ++channel) {
            std::copy_n(input[channel].begin() + static_cast<std::ptrdiff_t>(offset), frames,
                        first[channel].begin());
        }
        for (unsigned int channel = 0; channel < channels; ++channel) {
            float* in = first[channel].data();
            switch (mode) {
                case Buffers::OutOfPlace:
                    outputs[channel] = second[channel].data();
                    break;
                case Buffers::InPlace:
                    outputs[channel] = in;
                    break;
                case Buffers::CrossAliased:
                    outputs[channel] = first[channels - 1 - channel].data();
                    break;
            }
            plugin.connectAudio(channel, in, outputs[channel]);
        }
        return outputs;
    }
};

struct RunCase {
    ExpectedPlugin plugin;
    Buffers mode;
};

const char* modeName(Buffers mode) {
    constexpr const char* kNames[] = {"OutOfPlace", "InPlace", "CrossAliased"};
    return kNames[static_cast<int>(mode)];
}

void PrintTo(const RunCase& run, std::ostream* stream) {
    *stream << run.plugin.uri << " " << modeName(run.mode);
}

std::string caseName(const ::testing::TestParamInfo<RunCase>& info) {
    return info.param.plugin.label() + "_" + modeName(info.param.mode);
}

std::vector<RunCase> runCases() {
    std::vector<RunCase> cases;
    for (const ExpectedPlugin& plugin : expectedPlugins()) {
        cases.push_back({plugin, Buffers::OutOfPlace});
        cases.push_back({plugin, Buffers::InPlace});
        if (plugin.channels == 2) cases.push_back({plugin, Buffers::CrossAliased});
    }
    return cases;
}

// The index of the first frame whose bits differ, or -1.
long firstDifference(const float* actual, const std::vector<float>& expected) {
    for (std::size_t frame = 0; frame < expected.size(); ++frame) {
        if (std::bit_cast<std::uint32_t>(actual[frame]) !=
            std::bit_cast<std::uint32_t>(expected[frame])) {
            return static_cast<long>(frame);
        }
    }
    return -1;
}

class PluginRun : public ::testing::TestWithParam<RunCase> {};

TEST_P(PluginRun, MatchesTheNodeBitForBitAndNeverTouchesTheHeap) {
    const RunCase& run = GetParam();
    const unsigned int channels = run.plugin.channels;
    BundleWorld world;
    PluginInstance plugin(world, run.plugin, kSampleRate);
    ASSERT_NE(plugin.instance(), nullptr);
    ReferenceNode reference(run.plugin, kSampleRate);
    const Channels input = makeInput(channels, totalFrames(), kSampleRate);
    BlockBuffers buffers(channels, ReferenceNode::kMostFrames);
    plugin.activate();

    std::size_t offset = 0;
    for (std::size_t block = 0; block < std::size(kBlockSizes); ++block) {
        const unsigned int frames = kBlockSizes[block];
        const auto& parameters = run.plugin.entry->parameters;
        for (std::size_t index = 0; index < parameters.size(); ++index) {
            const float value = controlValue(parameters[index], index, block);
            plugin.control(index) = value * portUnitOf(parameters[index]).perParameterUnit;
            reference.setControl(index, value);
        }
        const std::vector<float*> outputs =
            buffers.connect(plugin, run.mode, input, offset, frames);
        const HeapTraffic traffic = measureHeapTraffic([&] { plugin.run(frames); });
        EXPECT_EQ(traffic.allocations, 0u) << "block " << block << " of " << frames << " frames";
        EXPECT_EQ(traffic.deallocations, 0u) << "block " << block;
        const Channels expected = reference.process(input, offset, frames);
        for (unsigned int channel = 0; channel < channels; ++channel) {
            EXPECT_EQ(firstDifference(outputs[channel], expected[channel]), -1)
                << "block " << block << " (" << frames << " frames), channel " << channel;
        }
        offset += frames;
    }
    plugin.deactivate();
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginRun, ::testing::ValuesIn(runCases()), caseName);

// Runs a plug-in on input in blocks of at most 256 frames at the given rate, against a
// reference node.
void expectSameAsReference(PluginInstance& plugin, const ExpectedPlugin& expected,
                           unsigned int sampleRate, std::size_t frames) {
    constexpr std::size_t kBlock = 256;
    ReferenceNode reference(expected, sampleRate);
    const Channels input = makeInput(expected.channels, frames, sampleRate);
    BlockBuffers buffers(expected.channels, kBlock);
    for (std::size_t offset = 0; offset < frames; offset += kBlock) {
        const auto length = static_cast<unsigned int>(std::min(kBlock, frames - offset));
        const std::vector<float*> outputs =
            buffers.connect(plugin, Buffers::OutOfPlace, input, offset, length);
        plugin.run(length);
        const Channels wanted = reference.process(input, offset, length);
        for (unsigned int channel = 0; channel < expected.channels; ++channel) {
            ASSERT_EQ(firstDifference(outputs[channel], wanted[channel]), -1)
                << sampleRate << " Hz, frame " << offset << ", channel " << channel;
        }
    }
}

class PluginLifecycle : public ::testing::TestWithParam<ExpectedPlugin> {};

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST_P(PluginLifecycle, InstantiatesAtEveryWholeRateAndComputesAsTheNodeThere) {
    BundleWorld world;
    for (unsigned int rate : {8000u, 22050u, 44100u, 48000u, 88200u, 96000u, 192000u}) {
        PluginInstance plugin(world, GetParam(), rate);
        ASSERT_NE(plugin.instance(), nullptr) << rate;
        plugin.activate();
        expectSameAsReference(plugin, GetParam(), rate, 4096);
    }
}

TEST_P(PluginLifecycle, RefusesARateThatIsNotFiniteAndPositive) {
    BundleWorld world;
    for (double rate :
         {0.0, -48000.0, -0.5, static_cast<double>(NAN), static_cast<double>(INFINITY), 1e12}) {
        LilvInstance* instance =
            lilv_plugin_instantiate(world.plugin(GetParam().uri), rate, nullptr);
        EXPECT_EQ(instance, nullptr) << rate;
        if (instance != nullptr) lilv_instance_free(instance);
    }
}

TEST_P(PluginLifecycle, TakesAFractionalRateRoundedToWholeHertz) {
    BundleWorld world;
    const std::pair<double, unsigned int> rates[] = {
        {44100.5, 44101}, {48000.0001, 48000}, {47999.6, 48000}, {96000.4999, 96000}};
    for (const auto& [rate, rounded] : rates) {
        PluginInstance plugin(world, GetParam(), rate);
        ASSERT_NE(plugin.instance(), nullptr) << rate;
        plugin.activate();
        expectSameAsReference(plugin, GetParam(), rounded, 4096);
    }
}

TEST_P(PluginLifecycle, ActivateStartsAgainFromAFreshNode) {
    BundleWorld world;
    PluginInstance used(world, GetParam(), kSampleRate);
    ASSERT_NE(used.instance(), nullptr);
    used.activate();
    const Channels earlier = makeInput(GetParam().channels, 24000, kSampleRate);
    BlockBuffers buffers(GetParam().channels, 24000);
    buffers.connect(used, Buffers::OutOfPlace, earlier, 0, 24000);
    used.run(24000);
    used.deactivate();
    used.activate();
    expectSameAsReference(used, GetParam(), kSampleRate, 24000);
}

TEST_P(PluginLifecycle, InstantiationAllocatesAndCleanupGivesItBack) {
    BundleWorld world;
    const LilvPlugin* plugin = world.plugin(GetParam().uri);
    ASSERT_NE(plugin, nullptr);
    // A first instance keeps the binary loaded, with what it builds once.
    LilvInstance* first = lilv_plugin_instantiate(plugin, kSampleRate, nullptr);
    ASSERT_NE(first, nullptr);
    const HeapTraffic traffic = measureHeapTraffic([&] {
        LilvInstance* instance = lilv_plugin_instantiate(plugin, kSampleRate, nullptr);
        ASSERT_NE(instance, nullptr);
        lilv_instance_free(instance);
    });
    lilv_instance_free(first);
    // The counter sees the plug-in's own allocations (its node among them).
    EXPECT_GE(traffic.allocations, 4u);
    EXPECT_EQ(traffic.deallocations, traffic.allocations);
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginLifecycle, ::testing::ValuesIn(expectedPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
