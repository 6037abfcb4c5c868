#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/nodes/DelayTestSupport.h"

// The delay and the ping-pong delay keep their delay time at every sample rate: once a host has
// negotiated a rate, delayMs milliseconds are trunc(rate * ms / 1000) samples, up to 1000 ms
// at 384 kHz, while at 48 kHz and below the lines stay 48000 samples as they have always been.
namespace {

using ostrana::Node;
using ostrana::XVAnyMap;
using ostrana::extensions::audioeffects::AudioEffectsNodeFactory;
using ostrana::extensions::audioeffects::DelayNode;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using ostrana::nodetest::negotiate;
using namespace ostrana::delaytest;

constexpr unsigned int kRates[] = {44100, 48000, 88200, 96000, 192000, 384000};

// trunc(rate * ms / 1000), in whole numbers: the echo's distance in samples.
unsigned int samplesOf(unsigned int sampleRate, unsigned int delayMs) {
    return static_cast<unsigned int>(std::uint64_t{sampleRate} * delayMs / 1000);
}

// A node of the type made by the factory, as a host makes it.
std::unique_ptr<Node> makeNode(const std::string& type) {
    AudioEffectsNodeFactory factory;
    auto created = factory.createNode(type, XVAnyMap());
    EXPECT_TRUE(created.isOk());
    return std::move(created).value();
}

// Only the echo: no dry signal, no feedback.
template <typename EchoNode>
void echoOnly(EchoNode& node, unsigned int delayMs) {
    apply(node, {.isEnabled = true,
                 .delayMs = delayMs,
                 .dryMix = 0.0f,
                 .wetMix = 1.0f,
                 .feedbackLevel = 0.0f});
}

// An impulse on both channels comes out once, whole, delayMs later on each.
template <typename EchoNode>
void expectEchoAfter(const std::string& type, unsigned int sampleRate, unsigned int delayMs) {
    const std::unique_ptr<Node> node = makeNode(type);
    auto& echo = dynamic_cast<EchoNode&>(*node);
    negotiate(echo, 2, sampleRate);
    echoOnly(echo, delayMs);
    const unsigned int distance = samplesOf(sampleRate, delayMs);
    Signal input = silence(2, distance + 2000);
    input[0][0] = 1.0f;
    input[1][0] = 1.0f;
    const Signal output = processInBlocks(echo, input, sampleRate, 4096);
    for (unsigned int channel = 0; channel < 2; ++channel) {
        SCOPED_TRACE(type + " at " + std::to_string(sampleRate) + " Hz, " +
                     std::to_string(delayMs) + " ms, channel " + std::to_string(channel));
        expectEchoes(output[channel], {{distance, 1.0f}});
    }
}

TEST(EchoAtEveryRate, DelayEchoesAfterItsTimeAtEveryRate) {
    for (const unsigned int rate : kRates) {
        for (const unsigned int delayMs : {1u, 350u, 1000u}) {
            expectEchoAfter<DelayNode>("AudioEffects.Delay", rate, delayMs);
        }
    }
}

TEST(EchoAtEveryRate, PingPongDelayEchoesAfterItsTimeAtEveryRate) {
    for (const unsigned int rate : kRates) {
        for (const unsigned int delayMs : {350u, 1000u}) {
            expectEchoAfter<PingPongDelayNode>("AudioEffects.PingPongDelay", rate, delayMs);
        }
    }
}

TEST(EchoAtEveryRate, AtAndBelow48kHzTheLineStaysFortyEightThousandSamples) {
    for (const unsigned int rate : {8000u, 22050u, 44100u, 48000u}) {
        SCOPED_TRACE(rate);
        DelayNode node(2);
        negotiate(node, 2, rate);
        echoOnly(node, 200);
        // A new channel count clears the lines without placing the read pointers again: the
        // echo then comes after the whole line.
        (void)processWhole(node, impulse(2, 100, 0), rate);
        const Signal output = processInBlocks(node, impulse(1, 50000, 0), rate, 4096);
        expectEchoes(output[0], {{48000, 1.0f}});
    }
}

TEST(EchoAtEveryRate, AboveFortyEightKilohertzTheWholeLineIsOneSecond) {
    DelayNode node(2);
    negotiate(node, 2, 96000);
    echoOnly(node, 200);
    (void)processWhole(node, impulse(2, 100, 0), 96000);
    const Signal output = processInBlocks(node, impulse(1, 100000, 0), 96000, 4096);
    expectEchoes(output[0], {{96000, 1.0f}});
}

TEST(EchoAtEveryRate, DelaysBeyondOneSecondAreHeldAtOneSecondAtEveryRate) {
    for (const unsigned int rate : {44100u, 96000u, 384000u}) {
        SCOPED_TRACE(rate);
        const unsigned int longest = rate < 48000 ? 48000 : rate;
        DelayNode delay(2);
        negotiate(delay, 2, rate);
        echoOnly(delay, 5000);
        const Signal delayed = processInBlocks(delay, impulse(2, longest + 10, 0), rate, 4096);
        expectEchoes(delayed[0], {{longest, 1.0f}});

        PingPongDelayNode pingPong{XVAnyMap()};
        negotiate(pingPong, 2, rate);
        echoOnly(pingPong, 5000);
        const Signal bounced = processInBlocks(pingPong, impulse(2, longest + 10, 0), rate, 4096);
        expectEchoes(bounced[0], {{longest, 1.0f}});
    }
}

// A rate the host never announced keeps the 48000-sample line: the delay is held there.
TEST(EchoAtEveryRate, UnannouncedRatesKeepTheFortyEightThousandSampleLine) {
    DelayNode delay(2);
    echoOnly(delay, 1000);
    const Signal delayed = processInBlocks(delay, impulse(2, 96010, 0), 96000, 4096);
    expectEchoes(delayed[0], {{48000, 1.0f}});

    PingPongDelayNode pingPong{XVAnyMap()};
    echoOnly(pingPong, 1000);
    const Signal bounced = processInBlocks(pingPong, impulse(2, 96010, 0), 96000, 4096);
    expectEchoes(bounced[0], {{48000, 1.0f}});
}

// Negotiating a high rate and coming back leaves a node that works as one that never left.
template <typename EchoNode, typename Make>
void expectSameAsNeverNegotiatedHigh(Make make) {
    EchoNode travelled = make();
    EchoNode stayed = make();
    negotiate(travelled, 2, 192000);
    negotiate(travelled, 2, 44100);
    negotiate(stayed, 2, 44100);
    for (EchoNode* node : {&travelled, &stayed}) {
        node->setDelayMs(3000);
        node->setFeedbackLevel(0.5f);
    }
    const Signal input = noise(2, 20000, 41);
    expectSameBits(processInBlocks(travelled, input, 44100, 512),
                   processInBlocks(stayed, input, 44100, 512));
    // A change of channel count: the delay becomes the whole line.
    const Signal mono = noise(1, 60000, 42);
    expectSameBits(processInBlocks(travelled, mono, 44100, 512),
                   processInBlocks(stayed, mono, 44100, 512));
}

TEST(EchoAtEveryRate, ComingBackFromAHighRateWorksAsNeverHavingLeft) {
    expectSameAsNeverNegotiatedHigh<DelayNode>([] { return DelayNode(2); });
}

TEST(EchoAtEveryRate, PingPongComingBackFromAHighRateWorksAsNeverHavingLeft) {
    expectSameAsNeverNegotiatedHigh<PingPongDelayNode>(
        [] { return PingPongDelayNode(XVAnyMap()); });
}

// Growing the lines when a higher rate is negotiated keeps what they hold and where they are.
template <typename EchoNode, typename Make>
void expectGrowingKeepsTheLines(Make make) {
    EchoNode early = make();
    EchoNode late = make();
    negotiate(early, 2, 96000);
    for (EchoNode* node : {&early, &late}) node->setFeedbackLevel(0.5f);
    const Signal first = noise(2, 30000, 7);
    expectSameBits(processInBlocks(late, first, 48000, 256),
                   processInBlocks(early, first, 48000, 256));
    negotiate(late, 2, 96000);
    const Signal second = noise(2, 30000, 8);
    expectSameBits(processInBlocks(late, second, 48000, 256),
                   processInBlocks(early, second, 48000, 256));
}

TEST(EchoAtEveryRate, NegotiatingAHigherRateKeepsWhatTheLinesHold) {
    expectGrowingKeepsTheLines<DelayNode>([] { return DelayNode(2); });
    expectGrowingKeepsTheLines<PingPongDelayNode>([] { return PingPongDelayNode(XVAnyMap()); });
}

}  // namespace
