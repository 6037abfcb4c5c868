#pragma once

#include <gtest/gtest.h>

#include <ostrana/sdk/AudioBus.h>

#include "audioeffects/nodes/AllocationCounter.h"

// The driver of the allocation tests: buses with something in them, one block measured for heap
// traffic, and the measurements that every node's allocation tests make alike.
namespace ostrana::testing {

// Makes buses whose every channel holds a ramp from -0.5 up, starting again every period
// frames, so that a node's lines carry something.
struct RampBuses {
    unsigned int period;

    AudioBus operator()(unsigned int channels, unsigned int frames, unsigned int sampleRate) const {
        AudioBus bus(channels, frames, sampleRate);
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < frames; ++f) {
                bus.buffer.setSample(
                    c, f, static_cast<float>(f % period) / static_cast<float>(period) - 0.5f);
            }
        }
        return bus;
    }
};

// Processes one block and expects no heap traffic at all while process runs.
template <typename Node>
void expectNoHeapTraffic(Node& node, AudioBus& in, AudioBus& out) {
    bool processed = false;
    const HeapTraffic traffic = measureHeapTraffic([&] { processed = node.process(in, out); });
    EXPECT_TRUE(processed);
    EXPECT_EQ(traffic.allocations, 0u);
    EXPECT_EQ(traffic.deallocations, 0u);
}

// Applies each change to the node in turn, each followed by one block that must not touch the
// heap.
template <typename Node, typename... Changes>
void expectNoHeapTrafficAfterEach(Node& node, AudioBus& in, AudioBus& out, Changes&&... changes) {
    ((changes(node), expectNoHeapTraffic(node, in, out)), ...);
}

// Building a stereo node allocates (its state and its two lines among the four allocations at
// least) and destroying it gives all of that back.
template <typename Node>
void expectConstructionAllocatesAndDestructionGivesBack() {
    const HeapTraffic traffic = measureHeapTraffic([] { Node node(2); });
    EXPECT_GE(traffic.allocations, 4u);
    EXPECT_EQ(traffic.deallocations, traffic.allocations);
}

// A first stereo block of 256 frames at 48 kHz allocates nothing.
template <typename Node>
void expectFirstBlockAllocatesNothing(Node& node, const RampBuses& rampBus) {
    AudioBus in = rampBus(2, 256, 48000);
    AudioBus out(2, 256);
    expectNoHeapTraffic(node, in, out);
}

// A stereo block of 128 frames at 48 kHz run disabled, then enabled, then after each further
// change: none of them allocates.
template <typename Node, typename... Changes>
void expectEnablingAndDisablingAllocatesNothing(Node& node, const RampBuses& rampBus,
                                                Changes&&... changes) {
    AudioBus in = rampBus(2, 128, 48000);
    AudioBus out(2, 128);
    expectNoHeapTrafficAfterEach(
        node, in, out, [](Node& n) { n.setIsEnabled(false); },
        [](Node& n) { n.setIsEnabled(true); }, changes...);
}

// A block of as many channels as the node was built for, then one of three channels, 300 frames
// at 96 kHz: neither allocates.
template <typename Node>
void expectManyChannelsAllocateNothing(Node& node, unsigned int channels,
                                       const RampBuses& rampBus) {
    AudioBus in = rampBus(channels, 300, 96000);
    AudioBus out(channels, 300);
    expectNoHeapTraffic(node, in, out);
    AudioBus three = rampBus(3, 300, 96000);
    expectNoHeapTraffic(node, three, out);
}

}  // namespace ostrana::testing
