#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/nodes/AllocationTestSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::extensions::audioeffects::DelayNode;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using namespace ostrana::testing;

// Buses filled with a ramp, so that the node has something to echo.
constexpr RampBuses rampBus{97};

TEST(AllocationCounter, SeesAllocationsMadeInsideTheLibrary) {
    expectConstructionAllocatesAndDestructionGivesBack<DelayNode>();
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
    expectFirstBlockAllocatesNothing(node, rampBus);
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
    expectNoHeapTrafficAfterEach(
        node, in, out,
        [](DelayNode& n) {
            n.setDelayMs(1);
            n.setFeedbackLevel(0.9f);
        },
        [](DelayNode& n) {
            n.setDelayMs(100000);
            n.setDryMix(0.0f);
            n.setWetMix(1.0f);
        });
}

TEST(DelayNodeAllocation, EnablingAndDisablingAllocatesNothing) {
    DelayNode node(2);
    expectEnablingAndDisablingAllocatesNothing(node, rampBus,
                                               [](DelayNode& n) { n.setDelayMs(0); });
}

TEST(DelayNodeAllocation, RefusedBusesAllocateNothing) {
    DelayNode node(2);
    AudioBus wide = rampBus(3, 64, 48000);
    AudioBus wideOut(3, 64);
    expectNoHeapTraffic(node, wide, wideOut);
}

TEST(DelayNodeAllocation, ManyChannelsAllocateNothing) {
    DelayNode node(5);
    expectManyChannelsAllocateNothing(node, 5, rampBus);
}

TEST(PingPongDelayNodeAllocation, FirstBlockAllocatesNothing) {
    PingPongDelayNode node{XVAnyMap()};
    expectFirstBlockAllocatesNothing(node, rampBus);
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
    expectNoHeapTrafficAfterEach(
        node, in, out,
        [](PingPongDelayNode& n) {
            n.setDelayMs(3);
            n.setFeedbackLevel(0.95f);
        },
        [](PingPongDelayNode& n) {
            n.setDelayMs(9000);
            n.setDryMix(1.0f);
            n.setWetMix(0.5f);
        });
}

TEST(PingPongDelayNodeAllocation, EnablingAndDisablingAllocatesNothing) {
    PingPongDelayNode node{XVAnyMap()};
    expectEnablingAndDisablingAllocatesNothing(node, rampBus,
                                               [](PingPongDelayNode& n) { n.setDelayMs(0); });
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
