#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include "host/AudioBus.h"
#include "host/XVAny.h"
#include "host/XVAnyMap.h"
#include "nodes/DelayNode.h"
#include "nodes/PingPongDelayNode.h"
#include "tests/nodes/AllocationCounter.h"

namespace {

using ostrana::AudioBus;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::extensions::audioeffects::DelayNode;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using ostrana::testing::HeapTraffic;
using ostrana::testing::measureHeapTraffic;

// A bus filled with a ramp, so that the node has something to echo.
AudioBus rampBus(unsigned int channels, unsigned int frames, unsigned int sampleRate) {
    AudioBus bus(channels, frames, sampleRate);
    for (unsigned int c = 0; c < channels; ++c) {
        for (unsigned int f = 0; f < frames; ++f) {
            bus.buffer.setSample(c, f, static_cast<float>(f % 97) / 97.0f - 0.5f);
        }
    }
    return bus;
}

// Processes one block and expects no heap traffic at all while process runs.
template <typename Node>
void expectNoHeapTraffic(Node& node, AudioBus& in, AudioBus& out) {
    bool processed = false;
    const HeapTraffic traffic = measureHeapTraffic([&] { processed = node.process(in, out); });
    EXPECT_TRUE(processed);
    EXPECT_EQ(traffic.allocations, 0u);
    EXPECT_EQ(traffic.deallocations, 0u);
}

TEST(AllocationCounter, SeesAllocationsMadeInsideTheLibrary) {
    const HeapTraffic traffic = measureHeapTraffic([] { DelayNode node(2); });
    // The node, its state and its two lines at least, all given back again.
    EXPECT_GE(traffic.allocations, 4u);
    EXPECT_EQ(traffic.deallocations, traffic.allocations);
}

// Hands a pointer to the optimiser as used, so that a new and delete pair is not removed.
template <typename T>
T* escape(T* pointer) {
    asm volatile("" : : "r"(pointer) : "memory");
    return pointer;
}

TEST(AllocationCounter, SeesEveryFormOfNew) {
    struct alignas(64) Wide {
        float values[16];
    };
    const HeapTraffic traffic = measureHeapTraffic([] {
        delete escape(new int(1));
        delete[] escape(new int[3]);
        delete escape(new (std::nothrow) int(2));
        delete[] escape(new (std::nothrow) int[2]);
        delete escape(new Wide);
        delete[] escape(new Wide[2]);
        delete escape(new (std::nothrow) Wide);
    });
    EXPECT_EQ(traffic.allocations, 7u);
    EXPECT_EQ(traffic.deallocations, 7u);
}

TEST(DelayNodeAllocation, FirstBlockAllocatesNothing) {
    DelayNode node(2);
    AudioBus in = rampBus(2, 256, 48000);
    AudioBus out(2, 256);
    expectNoHeapTraffic(node, in, out);
}

TEST(DelayNodeAllocation, FormatChangesAllocateNothing) {
    DelayNode node(2);
    AudioBus stereo48 = rampBus(2, 512, 48000);
    AudioBus stereo44 = rampBus(2, 512, 44100);
    AudioBus mono44 = rampBus(1, 512, 44100);
    AudioBus stereo0 = rampBus(2, 512, 0);
    AudioBus out(2, 512);
    AudioBus monoOut(1, 512);
    expectNoHeapTraffic(node, stereo48, out);
    expectNoHeapTraffic(node, stereo44, out);
    expectNoHeapTraffic(node, mono44, monoOut);
    expectNoHeapTraffic(node, stereo44, out);
    expectNoHeapTraffic(node, stereo0, out);
    stereo48.buffer.setNumberOfFrames(0);
    expectNoHeapTraffic(node, stereo48, out);
}

TEST(DelayNodeAllocation, ParameterChangesAllocateNothing) {
    DelayNode node(2);
    AudioBus in = rampBus(2, 4096, 48000);
    AudioBus out(2, 4096);
    expectNoHeapTraffic(node, in, out);
    node.setDelayMs(1);
    node.setFeedbackLevel(0.9f);
    expectNoHeapTraffic(node, in, out);
    node.setDelayMs(100000);
    node.setDryMix(0.0f);
    node.setWetMix(1.0f);
    expectNoHeapTraffic(node, in, out);
}

TEST(DelayNodeAllocation, EnablingAndDisablingAllocatesNothing) {
    DelayNode node(2);
    AudioBus in = rampBus(2, 128, 48000);
    AudioBus out(2, 128);
    node.setIsEnabled(false);
    expectNoHeapTraffic(node, in, out);
    node.setIsEnabled(true);
    expectNoHeapTraffic(node, in, out);
    node.setDelayMs(0);
    expectNoHeapTraffic(node, in, out);
}

TEST(DelayNodeAllocation, RefusedBusesAllocateNothing) {
    DelayNode node(2);
    AudioBus wide = rampBus(3, 64, 48000);
    AudioBus wideOut(3, 64);
    expectNoHeapTraffic(node, wide, wideOut);
}

TEST(DelayNodeAllocation, ManyChannelsAllocateNothing) {
    DelayNode node(5);
    AudioBus in = rampBus(5, 300, 96000);
    AudioBus out(5, 300);
    expectNoHeapTraffic(node, in, out);
    AudioBus three = rampBus(3, 300, 96000);
    expectNoHeapTraffic(node, three, out);
}

TEST(PingPongDelayNodeAllocation, FirstBlockAllocatesNothing) {
    PingPongDelayNode node{XVAnyMap()};
    AudioBus in = rampBus(2, 256, 48000);
    AudioBus out(2, 256);
    expectNoHeapTraffic(node, in, out);
}

TEST(PingPongDelayNodeAllocation, FormatChangesAllocateNothing) {
    PingPongDelayNode node{XVAnyMap()};
    AudioBus stereo48 = rampBus(2, 512, 48000);
    AudioBus stereo96 = rampBus(2, 512, 96000);
    AudioBus mono = rampBus(1, 512, 96000);
    AudioBus none(0, 512, 96000);
    AudioBus three = rampBus(3, 512, 96000);
    AudioBus out(3, 512);
    expectNoHeapTraffic(node, stereo48, out);
    expectNoHeapTraffic(node, stereo96, out);
    expectNoHeapTraffic(node, mono, out);
    expectNoHeapTraffic(node, none, out);
    expectNoHeapTraffic(node, three, out);
    AudioBus narrow(2, 512);
    expectNoHeapTraffic(node, three, narrow);
}

TEST(PingPongDelayNodeAllocation, ParameterChangesAllocateNothing) {
    PingPongDelayNode node{XVAnyMap()};
    AudioBus in = rampBus(2, 4096, 44100);
    AudioBus out(2, 4096);
    expectNoHeapTraffic(node, in, out);
    node.setDelayMs(3);
    node.setFeedbackLevel(0.95f);
    expectNoHeapTraffic(node, in, out);
    node.setDelayMs(9000);
    node.setDryMix(1.0f);
    node.setWetMix(0.5f);
    expectNoHeapTraffic(node, in, out);
}

TEST(PingPongDelayNodeAllocation, EnablingAndDisablingAllocatesNothing) {
    PingPongDelayNode node{XVAnyMap()};
    AudioBus in = rampBus(2, 128, 48000);
    AudioBus out(2, 128);
    node.setIsEnabled(false);
    expectNoHeapTraffic(node, in, out);
    node.setIsEnabled(true);
    expectNoHeapTraffic(node, in, out);
    node.setDelayMs(0);
    expectNoHeapTraffic(node, in, out);
}

TEST(PingPongDelayNodeAllocation, PropertyChangesBetweenBlocksAllocateNothingInProcess) {
    PingPongDelayNode node{XVAnyMap()};
    AudioBus in = rampBus(2, 1024, 48000);
    AudioBus out(2, 1024);
    expectNoHeapTraffic(node, in, out);
    ASSERT_TRUE(node.setValue("delayMs", XVAny(20)).isOk());
    ASSERT_TRUE(node.setValue("feedbackLevel", XVAny(0.7f)).isOk());
    expectNoHeapTraffic(node, in, out);
    ASSERT_TRUE(node.setValue("enabled", XVAny(false)).isOk());
    expectNoHeapTraffic(node, in, out);
    ASSERT_TRUE(node.setValue("enabled", XVAny(true)).isOk());
    ASSERT_TRUE(node.setValue("dryMix", XVAny(0.1f)).isOk());
    ASSERT_TRUE(node.setValue("wetMix", XVAny(0.9f)).isOk());
    expectNoHeapTraffic(node, in, out);
}

}  // namespace
