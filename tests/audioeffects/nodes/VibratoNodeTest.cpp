#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include <ostrana/audioeffects/VibratoNode.h>

#include "audioeffects/nodes/ModulationTestSupport.h"

using ostrana::extensions::audioeffects::VibratoNode;
using namespace ostrana::modulationtest;

namespace {

constexpr const ReferenceEffect& kVibrato = kVibratoEffect;

}  // namespace

TEST(VibratoNode, StartsWithItsDefaults) {
    expectStartsWithDefaults<VibratoNode>(kVibrato);
}

TEST(VibratoNode, AccessorsStoreAnyValueAsGiven) {
    VibratoNode node(2);
    node.setIsEnabled(false);
    EXPECT_FALSE(node.getIsEnabled());
    node.setSweepWidth(-0.5f);
    EXPECT_EQ(node.getSweepWidth(), -0.5f);
    node.setFrequency(-std::numeric_limits<float>::infinity());
    EXPECT_EQ(node.getFrequency(), -std::numeric_limits<float>::infinity());
    node.setFrequency(6.5f);
    EXPECT_EQ(node.getFrequency(), 6.5f);
}

TEST(VibratoNode, NodeWithoutChannelsStillHasItsOscillator) {
    VibratoNode node(0);
    EXPECT_EQ(node.getFrequency(), 4.0f);
    node.setFrequency(2.0f);
    EXPECT_EQ(node.getFrequency(), 2.0f);
    runEmptyChannels(node, 128, 48000);
    expectMonoBlockPassesThrough(node);
}

TEST(VibratoNode, AcceptsOneOrTwoChannelsAndRefusesThree) {
    VibratoNode node(2);
    expectAcceptsOneOrTwoChannelsAndRefusesThree(node);
    EXPECT_FALSE(accepts(node, {1, 48000, 256}, {1, 48000, 512}));
}

TEST(VibratoNode, DisabledNodePassesInputThroughExactly) {
    expectDisabledNodePassesInputThroughExactly<VibratoNode>();
}

TEST(VibratoNode, WithoutSweepItIsAOneSampleDelay) {
    VibratoNode node(2);
    node.setSweepWidth(0.0f);
    const Signal input = randomSignal(2, 10000, 9);
    std::vector<BlockSetting> schedule;
    for (unsigned int frames : {1u, 7u, 64u, 256u, 4096u, 5576u}) {
        schedule.push_back({frames, 48000, 2, 0.0f, 4.0f, true});
    }
    const Signal output = renderNode(node, schedule, input);
    for (unsigned int c = 0; c < 2; ++c) {
        EXPECT_EQ(output[c][0], 0.0f);
        EXPECT_EQ(slice(output[c], 1, 10000), slice(input[c], 0, 9999)) << "channel " << c;
    }
}

TEST(VibratoNode, FirstOutputAfterAClearIsZero) {
    VibratoNode node(1);
    node.setSweepWidth(0.0f);
    runBlock(node, randomSignal(1, 500, 3), 48000);
    const Signal input = randomSignal(1, 500, 4);
    const Signal output = runBlock(node, input, 96000);
    EXPECT_EQ(output[0][0], 0.0f);
    EXPECT_EQ(slice(output[0], 1, 500), slice(input[0], 0, 499));
}

TEST(VibratoNode, FirstFrameDelayIs241SamplesOnEveryChannelAt48kHz) {
    // With the oscillator held still, the first frame's delay holds for the whole block.
    VibratoNode node(2);
    node.setFrequency(0.0f);
    const Signal output = runBlock(node, impulse(2, 1000), 48000);
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 1000; ++f) {
            ASSERT_EQ(output[c][f], f == 241 ? 1.0f : 0.0f) << "channel " << c << " frame " << f;
        }
    }
}

TEST(VibratoNode, ChannelsAreModulatedInStep) {
    VibratoNode node(2);
    const Signal mono = randomSignal(1, 20000, 12);
    const Signal output = runBlock(node, Signal{mono[0], mono[0]}, 48000);
    EXPECT_TRUE(sameBits(Signal{output[0]}, Signal{output[1]}));
    EXPECT_FALSE(sameBits(Signal{output[0]}, mono));
}

TEST(VibratoNode, BlockWithoutChannelsAdvancesTheOscillatorByItsFrames) {
    const Signal first = randomSignal(1, 3000, 31);
    const Signal second = randomSignal(1, 5000, 32);

    VibratoNode node(2);
    runBlock(node, first, 48000);
    runEmptyChannels(node, 1700, 48000);
    const Signal after = runBlock(node, second, 48000);

    // The same steps taken on a signal, then the lines cleared by an empty block at another
    // rate (which moves no oscillator), give the same state and so the same output.
    VibratoNode stepped(2);
    runBlock(stepped, first, 48000);
    runBlock(stepped, Signal(1, std::vector<float>(1700, 0.0f)), 48000);
    runBlock(stepped, Signal(1, std::vector<float>()), 44100);
    EXPECT_TRUE(sameBits(after, runBlock(stepped, second, 48000)));

    // Without the 1700 steps the output differs.
    VibratoNode unstepped(2);
    runBlock(unstepped, first, 48000);
    runBlock(unstepped, Signal(1, std::vector<float>()), 44100);
    EXPECT_FALSE(sameBits(after, runBlock(unstepped, second, 48000)));
}

TEST(VibratoNode, DisabledBlocksLeaveTheOscillatorAndLinesWhereTheyWere) {
    // A disabled node does not step its oscillator even for blocks without channels: 900 such
    // frames follow the bypassed blocks.
    expectDisabledBlocksLeaveTheNodeWhereItWas<VibratoNode>(900);
}

TEST(VibratoNode, SampleRateChangeClearsTheLinesButKeepsThePhase) {
    expectFormatChangeClearsTheLinesButKeepsThePhases<VibratoNode>(
        randomSignal(2, 5000, 61), randomSignal(2, 5000, 62), 44100, 0);
}

TEST(VibratoNode, BlockThatDoesNotFitPassesThroughAndTouchesNothing) {
    expectBlocksThatDoNotFitTouchNothing<VibratoNode>(false);
}

TEST(VibratoNode, ExtremeSettingsStayInsideTheLines) {
    // A block of 100 frames without channels between the extreme block and the default one.
    expectExtremeSettingsMatchThePlainRendering<VibratoNode>(kVibrato, 300, 100);
}

TEST(VibratoNode, SettersMayRunWhileAudioIsProcessed) {
    expectSettersMayRunWhileAudioIsProcessed<VibratoNode>(
        0.002f, 0.008f, 2.0f, 6.0f, [](unsigned int f) { return f % 3 ? 0.25f : -1.0f; });
}

TEST(VibratoNode, NodeBuiltForMoreChannelsRunsThemAll) {
    expectNodeBuiltForMoreChannelsRunsThemAll<VibratoNode>(kVibrato, {0.01f, 0.003f, 0.02f},
                                                           {4.0f, 0.9f, 9.0f});
}

class VibratoMatchesPlainRendering : public RatesAndChannelsTest {};

TEST_P(VibratoMatchesPlainRendering, BitForBit) {
    const auto [rate, channels] = GetParam();
    expectMatchesPlainRendering<VibratoNode>(
        kVibrato, rate, channels, rate + channels + 2, rate * 7 + channels,
        {0.01f, 0.0f, 0.0007f, 0.02f, 0.3f, 1.7f, -0.004f}, {4.0f, 0.0f, 1.0f, 7.3f, 35.0f, -2.0f});
}

INSTANTIATE_TEST_SUITE_P(RatesAndChannels, VibratoMatchesPlainRendering, ratesAndChannels());

class VibratoMatchesPlainRenderingInBlocksOf : public BlockSizeTest {};

TEST_P(VibratoMatchesPlainRenderingInBlocksOf, BitForBit) {
    const unsigned int size = GetParam();
    expectMatchesPlainRenderingInBlocksOf<VibratoNode>(kVibrato, size, size + 4, size + 13,
                                                       {0.01f, 0.003f, 0.02f}, {4.0f, 0.9f, 9.0f});
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, VibratoMatchesPlainRenderingInBlocksOf, blockSizes());

TEST(VibratoMatchesPlainRenderingAcrossFormatChanges, BitForBit) {
    expectMatchesPlainRenderingAcrossFormatChanges<VibratoNode>(kVibrato, 0.02f, 7.0f, 2468);
}

TEST(VibratoMatchesPlainRenderingMadeThroughTheCatalogue, BitForBit) {
    expectCatalogueNodeMatchesPlainRendering("vibrato", kVibrato, 4321);
}
