#include <gtest/gtest.h>

#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/nodes/AllocationTestSupport.h"
#include "audioeffects/nodes/NodeTestSupport.h"

// The delay nodes make their lines longer when a higher rate is negotiated, never while they
// process: every block at every rate, announced or not, leaves the heap alone.
namespace {

using ostrana::AudioBus;
using ostrana::XVAnyMap;
using ostrana::extensions::audioeffects::DelayNode;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using ostrana::nodetest::negotiate;
using ostrana::testing::expectNoHeapTraffic;
using ostrana::testing::RampBuses;

// Blocks at each negotiated rate, then at rates never announced, with the longest delay.
template <typename Node>
void expectNoHeapTrafficAtAnyRate(Node& node) {
    node.setDelayMs(1000);
    const RampBuses ramp{97};
    for (const unsigned int rate : {44100u, 96000u, 384000u, 48000u, 192000u}) {
        SCOPED_TRACE(rate);
        negotiate(node, 2, rate);
        AudioBus in = ramp(2, 4096, rate);
        AudioBus out(2, 4096);
        for (int block = 0; block < 3; ++block) expectNoHeapTraffic(node, in, out);
    }
    for (const unsigned int rate : {768000u, 22050u}) {
        SCOPED_TRACE(rate);
        AudioBus in = ramp(2, 4096, rate);
        AudioBus out(2, 4096);
        expectNoHeapTraffic(node, in, out);
    }
}

TEST(EchoRateAllocation, DelayProcessesEveryRateWithoutTheHeap) {
    DelayNode node(2);
    expectNoHeapTrafficAtAnyRate(node);
}

TEST(EchoRateAllocation, PingPongDelayProcessesEveryRateWithoutTheHeap) {
    PingPongDelayNode node{XVAnyMap()};
    expectNoHeapTrafficAtAnyRate(node);
}

}  // namespace
