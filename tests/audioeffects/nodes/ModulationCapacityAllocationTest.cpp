// The chorus, flanger and vibrato built for other channel counts than the two the catalogue
// makes every node for: the catalogue has no way to ask for another count, so these nodes are
// built from their classes.

#include <gtest/gtest.h>

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
