#include <gtest/gtest.h>

#include <limits>

#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
#include <ostrana/sdk/AudioBus.h>

#include "audioeffects/nodes/AllocationTestSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::extensions::audioeffects::ChorusNode;
using ostrana::extensions::audioeffects::FlangerNode;
using ostrana::extensions::audioeffects::VibratoNode;
using namespace ostrana::testing;

// Buses filled with a ramp, so that the lines carry something.
constexpr RampBuses rampBus{89};

template <typename Node>
class ModulationNodeAllocation : public ::testing::Test {};

using ModulationNodes = ::testing::Types<ChorusNode, FlangerNode, VibratoNode>;
TYPED_TEST_SUITE(ModulationNodeAllocation, ModulationNodes);

TYPED_TEST(ModulationNodeAllocation, ConstructionAllocatesAndDestructionGivesBack) {
    expectConstructionAllocatesAndDestructionGivesBack<TypeParam>();
}

TYPED_TEST(ModulationNodeAllocation, BlocksOfEverySizeAllocateNothing) {
    TypeParam node(2);
    for (unsigned int frames : {1u, 3u, 7u, 64u, 256u, 4096u}) {
        AudioBus in = rampBus(2, frames, 48000);
        AudioBus out(2, frames);
        expectNoHeapTraffic(node, in, out);
        AudioBus mono = rampBus(1, frames, 48000);
        AudioBus monoOut(1, frames);
        expectNoHeapTraffic(node, mono, monoOut);
    }
}

TYPED_TEST(ModulationNodeAllocation, FormatChangesAllocateNothing) {
    TypeParam node(2);
    AudioBus stereo48 = rampBus(2, 512, 48000);
    AudioBus stereo96 = rampBus(2, 512, 96000);
    AudioBus mono44 = rampBus(1, 512, 44100);
    AudioBus stereo0 = rampBus(2, 512, 0);
    AudioBus none(0, 512, 48000);
    AudioBus out(2, 512);
    AudioBus monoOut(1, 512);
    AudioBus noneOut(0, 512);
    expectNoHeapTraffic(node, stereo48, out);
    expectNoHeapTraffic(node, stereo96, out);
    expectNoHeapTraffic(node, mono44, monoOut);
    expectNoHeapTraffic(node, none, noneOut);
    expectNoHeapTraffic(node, stereo0, out);
    stereo48.buffer.setNumberOfFrames(0);
    expectNoHeapTraffic(node, stereo48, out);
}

TYPED_TEST(ModulationNodeAllocation, ParameterChangesAllocateNothing) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    TypeParam node(2);
    AudioBus in = rampBus(2, 4096, 48000);
    AudioBus out(2, 4096);
    expectNoHeapTraffic(node, in, out);
    // Settings that send reads through the wrapped path, and ones that make them not a number.
    for (float sweepWidth : {0.0f, 0.3f, 2.5f, -1.0f, 1e30f, inf, nan}) {
        node.setSweepWidth(sweepWidth);
        expectNoHeapTraffic(node, in, out);
    }
    node.setSweepWidth(0.01f);
    for (float frequency : {0.0f, 5.0f, -3.0f, 48000.0f, 1e30f, inf, nan}) {
        node.setFrequency(frequency);
        expectNoHeapTraffic(node, in, out);
    }
}

TYPED_TEST(ModulationNodeAllocation, EnablingAndDisablingAllocatesNothing) {
    TypeParam node(2);
    expectEnablingAndDisablingAllocatesNothing(node, rampBus);
}

TYPED_TEST(ModulationNodeAllocation, BlocksThatDoNotFitAllocateNothing) {
    TypeParam node(2);
    AudioBus wide = rampBus(3, 64, 48000);
    AudioBus wideOut(3, 64);
    expectNoHeapTraffic(node, wide, wideOut);
    AudioBus in = rampBus(2, 256, 48000);
    AudioBus shortOut(2, 100);
    expectNoHeapTraffic(node, in, shortOut);
}

TYPED_TEST(ModulationNodeAllocation, ManyChannelsAllocateNothing) {
    TypeParam node(4);
    expectManyChannelsAllocateNothing(node, 4, rampBus);
}

TYPED_TEST(ModulationNodeAllocation, NodeWithoutChannelsAllocatesNothing) {
    TypeParam node(0);
    AudioBus none(0, 256, 48000);
    AudioBus noneOut(0, 256);
    expectNoHeapTraffic(node, none, noneOut);
    AudioBus mono = rampBus(1, 256, 48000);
    AudioBus monoOut(1, 256);
    expectNoHeapTraffic(node, mono, monoOut);
}

}  // namespace
