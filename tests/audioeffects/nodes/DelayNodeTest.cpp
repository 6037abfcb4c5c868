#include <climits>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>

#include "audioeffects/nodes/DelayTestSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::audio::CircularBuffer;
using ostrana::extensions::audioeffects::DelayNode;
using namespace ostrana::delaytest;

// The echo written out one operation at a time on the delay line's own interface: the plain
// reading of the node's per-block and per-sample steps, for comparing the node against.
class StepByStepDelay {
  public:
    explicit StepByStepDelay(unsigned int capacity) {
        for (unsigned int c = 0; c < capacity; ++c) lines_.emplace_back(48000);
    }

    Signal process(const Signal& input, unsigned int sampleRate, const Parameters& parameters) {
        Signal output = input;
        const auto channels = static_cast<unsigned int>(input.size());
        if (!parameters.isEnabled || parameters.delayMs == 0) return output;
        const bool rateChanged = sampleRate != lastSampleRate_;
        if (rateChanged || channels != lastNumberOfChannels_) {
            for (CircularBuffer& line : lines_) line.reset();
            lastSampleRate_ = sampleRate;
            lastNumberOfChannels_ = channels;
        }
        if (rateChanged || parameters.delayMs != lastDelayMs_) {
            const double exact = parameters.delayMs * (sampleRate / 1000.0);
            const int delay = exact > 48000.0 ? 48000 : static_cast<int>(exact);
            for (CircularBuffer& line : lines_) line.setReadPointer(line.getWritePointer() - delay);
            lastDelayMs_ = parameters.delayMs;
        }
        for (unsigned int f = 0; f < frameCount(input); ++f) {
            for (unsigned int c = 0; c < channels; ++c) {
                CircularBuffer& line = lines_[c];
                const float x = input[c][f];
                const float d = line.readSample();
                const float v = parameters.feedbackLevel * d + x;
                const float y = d * parameters.wetMix + x * parameters.dryMix;
                line.writeSample(v);
                line.stepWritePointer(1);
                line.stepReadPointer(1);
                output[c][f] = y;
            }
        }
        return output;
    }

  private:
    std::vector<CircularBuffer> lines_;
    unsigned int lastDelayMs_ = 0;
    unsigned int lastSampleRate_ = 0;
    unsigned int lastNumberOfChannels_ = 0;
};

// Echo values of a unit impulse with the default gains: wet times feedback to the k-th,
// each product rounded to float in turn.
std::map<unsigned int, float> defaultEchoes(unsigned int delay, unsigned int count) {
    std::map<unsigned int, float> echoes{{0, 0.7f}};
    float delayed = 1.0f;
    for (unsigned int k = 1; k <= count; ++k) {
        echoes[k * delay] = delayed * 0.3f;
        delayed = 0.2f * delayed;
    }
    return echoes;
}

TEST(DelayNode, StartsWithItsDefaults) {
    DelayNode node(2);
    expectDefaultParameters(node);
}

TEST(DelayNode, SettersStoreAnyValueAsGiven) {
    DelayNode node(2);
    node.setIsEnabled(false);
    node.setDryMix(5.0f);
    node.setWetMix(-1.5f);
    node.setDelayMs(UINT_MAX);
    node.setFeedbackLevel(std::numeric_limits<float>::infinity());
    EXPECT_FALSE(node.getIsEnabled());
    EXPECT_EQ(node.getDryMix(), 5.0f);
    EXPECT_EQ(node.getWetMix(), -1.5f);
    EXPECT_EQ(node.getDelayMs(), UINT_MAX);
    EXPECT_EQ(node.getFeedbackLevel(), std::numeric_limits<float>::infinity());
    node.setDryMix(std::nanf(""));
    EXPECT_TRUE(std::isnan(node.getDryMix()));
}

TEST(DelayNode, ImpulseResponseWithDefaultsAt48kHz) {
    DelayNode node(2);
    const Signal output = processInBlocks(node, impulse(2, 40000, 0), 48000, 4096);
    expectEchoes(output[0], defaultEchoes(9600, 4));
    EXPECT_EQ(output[0][0], 0.7f);
    EXPECT_EQ(output[0][9600], 0.3f);
    EXPECT_EQ(output[0][19200], 0.2f * 0.3f);
    EXPECT_EQ(output[0][28800], (0.2f * 0.2f) * 0.3f);
    expectEchoes(output[1], {});
}

TEST(DelayNode, DelayIsTruncatedNotRounded) {
    DelayNode node(1);
    node.setDelayMs(6);
    const Signal output = processWhole(node, impulse(1, 600, 0), 44100);
    expectEchoes(output[0], defaultEchoes(264, 2));
}

TEST(DelayNode, DisabledNodePassesInputThroughBitForBitAndFreezesItsLines) {
    Signal odd = noise(2, 3000, 7);
    odd[0][5] = std::nanf("0x123");
    odd[1][9] = -0.0f;
    odd[0][11] = std::numeric_limits<float>::infinity();

    DelayNode frozen(2);
    DelayNode reference(2);
    expectBypassPassesThroughAndFreezes(
        frozen, reference, noise(2, 1000, 3), odd, {{48000, 256}, {44100, 1000}},
        [](DelayNode& node) { node.setIsEnabled(false); },
        [](DelayNode& node) { node.setIsEnabled(true); }, noise(2, 20000, 4), 512);
}

TEST(DelayNode, ZeroDelayPassesInputThroughBitForBitAndFreezesItsLines) {
    Signal odd = noise(2, 3000, 8);
    odd[1][2] = -std::numeric_limits<float>::infinity();

    DelayNode frozen(2);
    DelayNode reference(2);
    const Signal output = expectBypassPassesThroughAndFreezes(
        frozen, reference, impulse(2, 700, 1), odd, {{48000, 64}, {96000, 3000}},
        [](DelayNode& node) { node.setDelayMs(0); }, [](DelayNode& node) { node.setDelayMs(200); },
        silence(2, 20000), 4096);
    // The impulse at frame 0 comes back 9600 processed frames later.
    EXPECT_EQ(output[1][9600 - 700], 0.3f);
}

TEST(DelayNode, ChannelCountChangeClearsTheLinesAndLeavesTheWholeLineAsDelay) {
    DelayNode node(2);
    Signal stereo = impulse(2, 5000, 0);
    stereo[1][0] = 1.0f;
    (void)processInBlocks(node, stereo, 48000, 1000);

    const Signal output = processInBlocks(node, impulse(1, 50000, 0), 48000, 4096);
    expectEchoes(output[0], {{0, 0.7f}, {48000, 0.3f}});
}

TEST(DelayNode, ChannelCountChangeBackClearsAgain) {
    DelayNode node(2);
    (void)processWhole(node, impulse(2, 100, 0), 48000);
    (void)processWhole(node, impulse(1, 100, 0), 48000);
    const Signal output = processInBlocks(node, silence(2, 50000), 48000, 4096);
    expectEchoes(output[0], {});
    expectEchoes(output[1], {});
}

TEST(DelayNode, SampleRateChangeClearsEveryLineAndPlacesTheReadPointersAnew) {
    DelayNode node(2);
    Signal stereo = impulse(2, 3000, 0);
    stereo[1][0] = 1.0f;
    (void)processInBlocks(node, stereo, 48000, 1000);

    const Signal output = processInBlocks(node, impulse(2, 30000, 1), 44100, 4096);
    expectEchoes(output[0], {});
    expectEchoes(output[1], defaultEchoes(8820, 3));
}

TEST(DelayNode, DelayChangeMovesTheReadPointersWithoutClearing) {
    DelayNode node(1);
    (void)processWhole(node, impulse(1, 100, 0), 48000);
    node.setDelayMs(100);
    // The read pointer now trails the write pointer (at 100) by 4800: it reaches the impulse
    // written at slot 0 after 4700 more frames.
    const Signal output = processWhole(node, silence(1, 12000), 48000);
    expectEchoes(output[0], {{4700, 0.3f}, {4700 + 4800, 0.2f * 0.3f}});
}

TEST(DelayNode, OutputDoesNotDependOnTheBlockSize) {
    const Signal input = noise(2, 30000, 11);
    const Parameters parameters{
        .delayMs = 13, .dryMix = 0.45f, .wetMix = 0.8f, .feedbackLevel = 0.6f};

    StepByStepDelay model(2);
    expectOutputIndependentOfTheBlockSize([] { return DelayNode(2); }, model, input, 48000,
                                          parameters);
}

TEST(DelayNode, MatchesTheStepByStepEchoThroughParameterAndFormatChanges) {
    const RandomBlockChoices choices{.sampleRates = {48000, 44100, 96000, 8000, 0, 22050},
                                     .delays = {200, 0, 1, 13, 999, 1000, 1001, 5000, 40},
                                     .gains = {0.0f, 0.2f, 0.3f, 0.7f, 0.99f, 1.0f, -0.5f, 1.25f},
                                     // Feedback below 1 in size keeps every sample finite.
                                     .feedbacks = {0.0f, 0.2f, 0.5f, 0.99f, -0.7f}};
    DelayNode node(2);
    StepByStepDelay model(2);
    // Mostly stereo, one block in five mono.
    expectMatchesTheModelThroughRandomBlocks(
        node, model, 2024, 120, choices,
        [](std::mt19937& generator) { return generator() % 5 == 0 ? 1u : 2u; }, 0);
}

TEST(DelayNode, ThreeChannelsEachEchoOnTheirOwnLine) {
    const Parameters parameters{.delayMs = 3, .feedbackLevel = 0.5f};
    DelayNode node(3);
    apply(node, parameters);
    StepByStepDelay model(3);
    for (unsigned int block = 0; block < 6; ++block) {
        const Signal input = noise(3, 777, 40 + block);
        expectSameBits(processWhole(node, input, 48000), model.process(input, 48000, parameters));
    }
}

TEST(DelayNode, AcceptsFormatsUpToItsChannelCapacity) {
    DelayNode node(2);
    for (unsigned int channels : {1u, 2u, 3u}) {
        EXPECT_EQ(accepts(node, {channels, 48000, 256}, {channels, 48000, 256}), channels <= 2)
            << channels << " channels";
    }
}

TEST(DelayNode, RefusesFormatsThatDoNotMatch) {
    DelayNode node(2);
    EXPECT_FALSE(accepts(node, {2, 48000, 256}, {1, 48000, 256}));
    EXPECT_FALSE(accepts(node, {2, 48000, 256}, {2, 44100, 256}));
}

TEST(DelayNode, TestsTheChannelCountAsMatchingLeftIt) {
    DelayNode node(2);
    EXPECT_FALSE(accepts(node, {0, 48000, 256}, {3, 48000, 256}));
    AudioBusFormat open2{0, 48000, 256};
    AudioBusFormat two{2, 0, 0};
    EXPECT_TRUE(node.setBusFormat(open2, two));
    EXPECT_EQ(open2.numberOfChannels, 2u);
}

TEST(DelayNode, WithoutLinesAcceptsOnlyNoChannels) {
    DelayNode node(0);
    EXPECT_TRUE(accepts(node, {0, 48000, 256}, {0, 48000, 256}));
    EXPECT_FALSE(accepts(node, {1, 48000, 256}, {1, 48000, 256}));

    AudioBus in(0, 64, 48000);
    AudioBus out(0, 64);
    EXPECT_TRUE(node.process(in, out));
    EXPECT_EQ(out.buffer.getNumberOfFrames(), 64u);
}

TEST(DelayNode, DelaysBeyondTheLineAreLimitedToTheWholeLine) {
    const Signal input = impulse(1, 50000, 0);
    const Signal expected = expectDelaysBeyondTheLineLimitedToIt([] { return DelayNode(1); }, input,
                                                                 {1001u, 5000u, UINT_MAX});
    DelayNode fastRate(1);
    fastRate.setDelayMs(1);
    expectSameBits(processInBlocks(fastRate, input, UINT_MAX, 4096), expected);
}

TEST(DelayNode, SampleRateZeroReadsTheSlotBeforeRewritingIt) {
    DelayNode node(1);
    const Signal output = processInBlocks(node, impulse(1, 50000, 0), 0, 4096);
    expectEchoes(output[0], {{0, 0.7f}, {48000, 0.3f}});
}

TEST(DelayNode, NotANumberAndInfiniteGainsDoNotBreakIt) {
    DelayNode nanDry(1);
    nanDry.setDryMix(std::nanf(""));
    const Signal quiet = processInBlocks(nanDry, noise(1, 10000, 5), 48000, 1000);
    for (float value : quiet[0]) ASSERT_TRUE(std::isnan(value));

    DelayNode infiniteFeedback(1);
    infiniteFeedback.setFeedbackLevel(std::numeric_limits<float>::infinity());
    const Signal loud = processInBlocks(infiniteFeedback, impulse(1, 20000, 0), 48000, 4096);
    // Infinity times the silent line is not a number: every slot written holds one, and the
    // echo brings them back from frame 9600 on.
    for (unsigned int f = 0; f < 9600; ++f) ASSERT_EQ(loud[0][f], f == 0 ? 0.7f : 0.0f);
    for (unsigned int f = 9600; f < 20000; ++f) ASSERT_TRUE(std::isnan(loud[0][f])) << f;

    DelayNode infiniteWet(2);
    infiniteWet.setWetMix(-std::numeric_limits<float>::infinity());
    const Signal wet = processInBlocks(infiniteWet, impulse(2, 10000, 1), 48000, 4096);
    EXPECT_TRUE(std::isnan(wet[1][1]));
    EXPECT_EQ(wet[1][9600], -std::numeric_limits<float>::infinity());
}

TEST(DelayNode, BlocksWithMoreChannelsThanLinesPassThroughAndTouchNothing) {
    DelayNode node(2);
    DelayNode reference(2);
    expectLinesLeftAsTheyWere(
        node, reference, impulse(2, 500, 0),
        [](DelayNode& misfit) {
            const Signal wide = noise(3, 400, 9);
            expectSameBits(processWhole(misfit, wide, 44100), wide);
        },
        silence(2, 12000), 4096);
}

TEST(DelayNode, OutputTooSmallForTheBlockTouchesNothing) {
    DelayNode node(2);
    DelayNode reference(2);
    expectLinesLeftAsTheyWere(
        node, reference, impulse(2, 500, 1),
        [](DelayNode& misfit) { expectNarrowAndShortOutputsPassThrough(misfit, 2, 300, 0, 0.5f); },
        silence(2, 12000), 4096);
}

TEST(DelayNode, ProcessesThroughTheListLevelCalls) {
    DelayNode node(2);
    expectImpulseThroughTheListLevelCalls(node, 16, 1, 3);
}

TEST(DelayNode, GainsSetFromAnotherThreadLandBetweenSamples) {
    DelayNode node(2);
    for (const Signal& output : outputsWhileTheDryMixChanges(node)) {
        for (const auto& channel : output) {
            for (float value : channel) ASSERT_TRUE(value == 0.25f || value == 0.5f) << value;
        }
    }
}

TEST(DelayNode, DescriptorHasIdentityAndNoProperties) {
    const ostrana::NodeTypeInfo info = DelayNode::getNodeTypeInfo();
    EXPECT_EQ(info.getFQTypeName(), "AudioEffects.Delay");
    EXPECT_TRUE(info.properties.empty());
    DelayNode node(2);
    EXPECT_TRUE(node.getProperties().empty());
}

}  // namespace
