#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include <ostrana/audioeffects/ChorusNode.h>

#include "audioeffects/nodes/ModulationTestSupport.h"

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::extensions::audioeffects::ChorusNode;
using namespace ostrana::modulationtest;

namespace {

constexpr const ReferenceEffect& kChorus = kChorusEffect;

}  // namespace

TEST(ChorusNode, StartsWithItsDefaults) {
    expectStartsWithDefaults<ChorusNode>(kChorus);
}

TEST(ChorusNode, AccessorsStoreAnyValueAsGiven) {
    ChorusNode node(2);
    node.setIsEnabled(false);
    EXPECT_FALSE(node.getIsEnabled());
    node.setSweepWidth(-3.5f);
    EXPECT_EQ(node.getSweepWidth(), -3.5f);
    node.setSweepWidth(std::numeric_limits<float>::infinity());
    EXPECT_EQ(node.getSweepWidth(), std::numeric_limits<float>::infinity());
    node.setSweepWidth(std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(node.getSweepWidth()));
    node.setFrequency(1.0f);
    EXPECT_EQ(node.getFrequency(), 1.0f);
    node.setFrequency(-7.25f);
    EXPECT_EQ(node.getFrequency(), -7.25f);
}

// With no oscillator to hold it, the frequency is still the node's parameter: it reads back.
TEST(ChorusNode, NodeWithoutChannelsKeepsItsFrequencySetting) {
    ChorusNode node(0);
    EXPECT_EQ(node.getFrequency(), 0.2f);
    node.setFrequency(3.0f);
    EXPECT_EQ(node.getFrequency(), 3.0f);
    runEmptyChannels(node, 64, 48000);
    expectMonoBlockPassesThrough(node);
}

TEST(ChorusNode, AcceptsOneOrTwoChannelsAndRefusesThree) {
    ChorusNode node(2);
    expectAcceptsOneOrTwoChannelsAndRefusesThree(node);
}

TEST(ChorusNode, AppliesTheChannelTestToTheMatchedInputFormat) {
    ChorusNode node(2);
    // The input leaves its channel count open and takes the output's 3: refused.
    EXPECT_FALSE(accepts(node, {0, 48000, 256}, {3, 48000, 256}));
    AudioBusFormat openIn{0, 48000, 256};
    AudioBusFormat stereoOut{2, 48000, 256};
    EXPECT_TRUE(node.setBusFormat(openIn, stereoOut));
    EXPECT_EQ(openIn.numberOfChannels, 2u);
}

TEST(ChorusNode, RefusesFormatsThatDoNotMatch) {
    ChorusNode node(2);
    for (unsigned int channels : {1u, 2u}) {
        EXPECT_FALSE(accepts(node, {channels, 48000, 256}, {channels, 44100, 256}))
            << channels << " channels";
    }
    EXPECT_FALSE(accepts(node, {1, 48000, 256}, {2, 48000, 256}));
}

TEST(ChorusNode, RunsThroughTheListLevelOperations) {
    ChorusNode node(2);
    AudioBusFormatList inFormats{AudioBusFormat{2, 48000, 512}};
    AudioBusFormatList outFormats{AudioBusFormat{2, 48000, 512}};
    ASSERT_TRUE(node.setBusFormats(inFormats, outFormats));

    const Signal input = randomSignal(2, 512, 11);
    AudioBus inBus(2, 512, 48000);
    AudioBus outBus(2, 512, 0);
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 512; ++f) inBus.buffer.setSample(c, f, input[c][f]);
    }
    AudioBusList inBuses{&inBus};
    AudioBusList outBuses{&outBus};
    ASSERT_TRUE(node.process(inBuses, outBuses));

    ChorusNode direct(2);
    const Signal expected = runBlock(direct, input, 48000);
    Signal output(2, std::vector<float>(512));
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 512; ++f) output[c][f] = outBus.buffer.getSample(c, f);
    }
    EXPECT_TRUE(sameBits(output, expected));
}

TEST(ChorusNode, DisabledNodePassesInputThroughExactly) {
    expectDisabledNodePassesInputThroughExactly<ChorusNode>();
}

TEST(ChorusNode, DisabledBlocksLeaveOscillatorsAndLinesWhereTheyWere) {
    expectDisabledBlocksLeaveTheNodeWhereItWas<ChorusNode>(0);
}

TEST(ChorusNode, FirstEnabledBlockPassesTheInputForThe1002FramesOfBaseDelay) {
    ChorusNode node(2);
    const Signal input = randomSignal(2, 4096, 5);
    const Signal output = runBlock(node, input, 48000);
    for (unsigned int c = 0; c < 2; ++c) {
        EXPECT_EQ(slice(output[c], 0, 1002), slice(input[c], 0, 1002)) << "channel " << c;
        // Past the longest delay, 2202 samples, the delayed signal is there.
        EXPECT_NE(output[c][3000], input[c][3000]);
    }
}

TEST(ChorusNode, ConstantInputGivesOneThenOnePointEight) {
    ChorusNode node(1);
    const Signal output = runBlock(node, constantSignal(1, 6000, 1.0f), 48000);
    const float full = 1.0f * 0.8f + 1.0f;
    for (unsigned int f = 0; f <= 1001; ++f) ASSERT_EQ(output[0][f], 1.0f) << "frame " << f;
    for (unsigned int f = 1002; f < 2203; ++f) {
        ASSERT_GE(output[0][f], 1.0f) << "frame " << f;
        ASSERT_LE(output[0][f], full) << "frame " << f;
    }
    for (unsigned int f = 2203; f < 6000; ++f) ASSERT_EQ(output[0][f], full) << "frame " << f;
}

TEST(ChorusNode, FirstFrameDelaysAre1602And2202SamplesAt48kHz) {
    // With the oscillators held still, the delays of the first frame hold for the whole block,
    // so an impulse at frame 0 comes back exactly once, 0.8 high.
    ChorusNode node(2);
    node.setFrequency(0.0f);
    const Signal output = runBlock(node, impulse(2, 3000), 48000);
    const unsigned int delays[2] = {1602, 2202};
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 3000; ++f) {
            const float expected = f == 0 ? 1.0f : (f == delays[c] ? 1.0f * 0.8f + 0.0f : 0.0f);
            ASSERT_EQ(output[c][f], expected) << "channel " << c << " frame " << f;
        }
    }
}

TEST(ChorusNode, EmptyBlockOfTheSameFormatChangesNothing) {
    const Signal first = randomSignal(2, 3000, 41);
    const Signal second = randomSignal(2, 3000, 42);

    ChorusNode interrupted(2);
    runBlock(interrupted, first, 48000);
    const Signal none = runBlock(interrupted, Signal(2, std::vector<float>()), 48000);
    EXPECT_EQ(none, Signal(2, std::vector<float>()));
    const Signal after = runBlock(interrupted, second, 48000);

    ChorusNode uninterrupted(2);
    runBlock(uninterrupted, first, 48000);
    EXPECT_TRUE(sameBits(after, runBlock(uninterrupted, second, 48000)));
}

TEST(ChorusNode, BlockWithoutChannelsClearsTheLinesAndKeepsThePhases) {
    const Signal first = randomSignal(2, 3000, 51);
    const Signal second = randomSignal(2, 3000, 52);

    ChorusNode node(2);
    runBlock(node, first, 48000);
    runEmptyChannels(node, 700, 48000);
    const Signal after = runBlock(node, second, 48000);
    for (unsigned int c = 0; c < 2; ++c) {
        EXPECT_EQ(slice(after[c], 0, 1002), slice(second[c], 0, 1002)) << "channel " << c;
    }

    // The same state reached another way: an empty block at another rate clears the lines,
    // and neither empty block moves the oscillators.
    ChorusNode cleared(2);
    runBlock(cleared, first, 48000);
    runBlock(cleared, Signal(2, std::vector<float>()), 44100);
    EXPECT_TRUE(sameBits(after, runBlock(cleared, second, 48000)));

    ChorusNode kept(2);
    runBlock(kept, first, 48000);
    EXPECT_FALSE(sameBits(after, runBlock(kept, second, 48000)));
}

TEST(ChorusNode, SampleRateChangeClearsTheLinesButKeepsThePhases) {
    // The cleared lines give back the input for the 1002 frames of base delay.
    expectFormatChangeClearsTheLinesButKeepsThePhases<ChorusNode>(
        randomSignal(2, 5000, 61), randomSignal(2, 5000, 62), 44100, 1002);
}

TEST(ChorusNode, SetFrequencyChangesEveryOscillator) {
    ChorusNode node(2);
    node.setFrequency(1.0f);
    EXPECT_EQ(node.getFrequency(), 1.0f);

    const std::vector<BlockSetting> schedule = {{30000, 48000, 2, kChorus.sweepWidth, 1.0f, true}};
    const Signal input = randomSignal(2, 30000, 71);
    ReferenceModulation reference(kChorus, 2);
    const Signal expected = render(reference, schedule, input);
    EXPECT_TRUE(sameBits(runBlock(node, input, 48000), expected));

    // Channel 1 differs from a node left at 0.2 Hz, so its oscillator was changed too.
    ChorusNode slow(2);
    const Signal slowOutput = runBlock(slow, input, 48000);
    const Signal fast = expected;
    EXPECT_FALSE(sameBits(Signal{slowOutput[1]}, Signal{fast[1]}));
}

TEST(ChorusNode, BlockThatDoesNotFitPassesThroughAndTouchesNothing) {
    expectBlocksThatDoNotFitTouchNothing<ChorusNode>(true);
}

TEST(ChorusNode, ExtremeSettingsStayInsideTheLines) {
    expectExtremeSettingsMatchThePlainRendering<ChorusNode>(kChorus, 100, 0);
}

TEST(ChorusNode, SettersMayRunWhileAudioIsProcessed) {
    expectSettersMayRunWhileAudioIsProcessed<ChorusNode>(0.01f, 0.03f, 0.5f, 2.0f,
                                                         [](unsigned int) { return 0.5f; });
}

TEST(ChorusNode, NodeBuiltForMoreChannelsRunsThemAll) {
    expectNodeBuiltForMoreChannelsRunsThemAll<ChorusNode>(kChorus, {0.025f, 0.01f, 0.05f},
                                                          {0.2f, 0.9f, 3.0f});
}

class ChorusMatchesPlainRendering : public RatesAndChannelsTest {};

TEST_P(ChorusMatchesPlainRendering, BitForBit) {
    const auto [rate, channels] = GetParam();
    expectMatchesPlainRendering<ChorusNode>(
        kChorus, rate, channels, rate + channels, rate * 3 + channels,
        {0.025f, 0.0f, 0.0013f, 0.04f, 0.3f, 1.7f, -0.02f}, {0.2f, 0.0f, 1.0f, 7.3f, 35.0f, -2.0f});
}

INSTANTIATE_TEST_SUITE_P(RatesAndChannels, ChorusMatchesPlainRendering, ratesAndChannels());

class ChorusMatchesPlainRenderingInBlocksOf : public BlockSizeTest {};

TEST_P(ChorusMatchesPlainRenderingInBlocksOf, BitForBit) {
    const unsigned int size = GetParam();
    expectMatchesPlainRenderingInBlocksOf<ChorusNode>(kChorus, size, size, size + 5,
                                                      {0.025f, 0.01f, 0.05f}, {0.2f, 0.9f, 3.0f});
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, ChorusMatchesPlainRenderingInBlocksOf, blockSizes());

TEST(ChorusMatchesPlainRenderingAcrossFormatChanges, BitForBit) {
    expectMatchesPlainRenderingAcrossFormatChanges<ChorusNode>(kChorus, 0.05f, 2.0f, 1234);
}

TEST(ChorusMatchesPlainRenderingMadeThroughTheCatalogue, BitForBit) {
    expectCatalogueNodeMatchesPlainRendering("chorus", kChorus, 4321);
}
