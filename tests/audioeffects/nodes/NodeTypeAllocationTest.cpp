// Every node type of the extension's catalogue, block by block through every path of its work:
// blocks of every size, format changes, every catalogued parameter set to values that send the
// work down its odd paths, the switches turned off and on, and blocks the node cannot take.
// Only the process calls are measured: none may touch the heap.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/EveryNodeType.h"
#include "audioeffects/nodes/AllocationTestSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::Node;
using ostrana::SingleBusAudioProcessorNode;
using ostrana::XVAnyMap;
using namespace ostrana::extensions::audioeffects;
using namespace ostrana::testing;

// Buses filled with a ramp, so that the lines carry something.
constexpr RampBuses rampBus{89};

// Values that send a parameter of each kind down its odd paths (reads through the wrapped part
// of a line, delays beyond it, settings that are not a number), after a block at the default.
std::vector<ParameterValue> oddValues(const NodeParameter& parameter) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return {false, true};
        case ParameterKind::WholeNumber: {
            const auto maximum = std::get<unsigned int>(parameter.maximum);
            return {0u,      std::get<unsigned int>(parameter.minimum), maximum, maximum + 1,
                    100000u, std::numeric_limits<unsigned int>::max()};
        }
        case ParameterKind::RealNumber:
            break;
    }
    return {0.0f, 0.3f, 2.5f, 5.0f, -1.0f, -3.0f, 48000.0f, 1e30f, inf, nan};
}

class NodeTypeAllocation : public ::testing::TestWithParam<NodeTypeEntry> {
  protected:
    std::unique_ptr<SingleBusAudioProcessorNode> node = createProcessor(GetParam());
};

// What every node must do with the heap outside processing: a node made by its creation
// function is on the heap (the counter sees at least that), and destroying it gives back all
// that making it took, whatever state the effect keeps.
TEST_P(NodeTypeAllocation, DestructionGivesBackAllThatConstructionTook) {
    const XVAnyMap configuration;
    const HeapTraffic traffic = measureHeapTraffic(
        [&] { std::unique_ptr<Node>(GetParam().create(configuration)).reset(); });
    EXPECT_GE(traffic.allocations, 1u);
    EXPECT_EQ(traffic.deallocations, traffic.allocations);
}

TEST_P(NodeTypeAllocation, FirstBlockAllocatesNothing) {
    ASSERT_NE(node, nullptr);
    expectFirstBlockAllocatesNothing(*node, rampBus);
}

TEST_P(NodeTypeAllocation, BlocksOfEverySizeAllocateNothing) {
    ASSERT_NE(node, nullptr);
    for (unsigned int frames : {1u, 3u, 7u, 64u, 256u, 4096u}) {
        AudioBus in = rampBus(2, frames, 48000);
        AudioBus out(2, frames);
        expectNoHeapTraffic(*node, in, out);
        AudioBus mono = rampBus(1, frames, 48000);
        AudioBus monoOut(1, frames);
        expectNoHeapTraffic(*node, mono, monoOut);
    }
}

TEST_P(NodeTypeAllocation, FormatChangesAllocateNothing) {
    ASSERT_NE(node, nullptr);
    AudioBus stereo48 = rampBus(2, 512, 48000);
    AudioBus stereo96 = rampBus(2, 512, 96000);
    AudioBus stereo44 = rampBus(2, 512, 44100);
    AudioBus mono44 = rampBus(1, 512, 44100);
    AudioBus stereo0 = rampBus(2, 512, 0);
    AudioBus none(0, 512, 48000);
    AudioBus three = rampBus(3, 512, 96000);
    AudioBus out(3, 512);
    AudioBus stereoOut(2, 512);
    AudioBus monoOut(1, 512);
    AudioBus noneOut(0, 512);
    expectNoHeapTraffic(*node, stereo48, stereoOut);
    expectNoHeapTraffic(*node, stereo96, stereoOut);
    expectNoHeapTraffic(*node, stereo44, stereoOut);
    expectNoHeapTraffic(*node, mono44, monoOut);
    expectNoHeapTraffic(*node, stereo44, out);
    expectNoHeapTraffic(*node, none, noneOut);
    expectNoHeapTraffic(*node, three, out);
    expectNoHeapTraffic(*node, three, stereoOut);
    expectNoHeapTraffic(*node, stereo0, stereoOut);
    stereo48.buffer.setNumberOfFrames(0);
    expectNoHeapTraffic(*node, stereo48, stereoOut);
}

// Each parameter in turn through its odd values, a block after each, then back to its default.
TEST_P(NodeTypeAllocation, ParameterChangesAllocateNothing) {
    ASSERT_NE(node, nullptr);
    AudioBus in = rampBus(2, 4096, 48000);
    AudioBus out(2, 4096);
    expectNoHeapTraffic(*node, in, out);
    for (const NodeParameter& parameter : GetParam().parameters) {
        for (const ParameterValue& value : oddValues(parameter)) {
            SCOPED_TRACE(std::string(parameter.name) + " " + formatValue(value));
            parameter.write(*node, value);
            expectNoHeapTraffic(*node, in, out);
        }
        parameter.write(*node, parameter.defaultValue);
    }
}

// A stereo block of 128 frames at 48 kHz after each switch is turned off and after it is turned
// on again: none of them allocates.
TEST_P(NodeTypeAllocation, EnablingAndDisablingAllocatesNothing) {
    ASSERT_NE(node, nullptr);
    AudioBus in = rampBus(2, 128, 48000);
    AudioBus out(2, 128);
    unsigned int switches = 0;
    for (const NodeParameter& parameter : GetParam().parameters) {
        if (parameter.kind != ParameterKind::Switch) continue;
        ++switches;
        for (const bool on : {false, true}) {
            parameter.write(*node, on);
            expectNoHeapTraffic(*node, in, out);
        }
    }
    EXPECT_GE(switches, 1u);
}

TEST_P(NodeTypeAllocation, BlocksThatDoNotFitAllocateNothing) {
    ASSERT_NE(node, nullptr);
    AudioBus wide = rampBus(GetParam().maxChannels + 1, 64, 48000);
    AudioBus wideOut(GetParam().maxChannels + 1, 64);
    expectNoHeapTraffic(*node, wide, wideOut);
    AudioBus in = rampBus(2, 256, 48000);
    AudioBus shortOut(2, 100);
    expectNoHeapTraffic(*node, in, shortOut);
    AudioBus narrowOut(1, 256);
    expectNoHeapTraffic(*node, in, narrowOut);
}

INSTANTIATE_TEST_SUITE_P(EveryNodeType, NodeTypeAllocation, everyNodeType(), nodeTypeTestName);

}  // namespace
