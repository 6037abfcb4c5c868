#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include <ostrana/audioeffects/FlangerNode.h>

#include "audioeffects/nodes/ModulationTestSupport.h"

using ostrana::extensions::audioeffects::FlangerNode;
using namespace ostrana::modulationtest;

namespace {

constexpr const ReferenceEffect& kFlanger = kFlangerEffect;

// The echo train of a unit impulse through a line of the given fixed delay: frame 0 holds the
// impulse, frame k * delay (k >= 1) holds 0.8 * 0.6^(k-1), each power formed as the node forms
// it (the line receives 0.6 times what it gave), every other frame 0.
std::vector<float> echoTrain(unsigned int delay, unsigned int frames) {
    std::vector<float> train(frames, 0.0f);
    train[0] = 1.0f;
    float circulating = 1.0f;
    for (unsigned int f = delay; f < frames; f += delay) {
        train[f] = circulating * 0.8f + 0.0f;
        circulating = 0.6f * circulating + 0.0f;
    }
    return train;
}

}  // namespace

TEST(FlangerNode, StartsWithItsDefaults) {
    expectStartsWithDefaults<FlangerNode>(kFlanger);
}

TEST(FlangerNode, AccessorsStoreAnyValueAsGiven) {
    FlangerNode node(2);
    node.setIsEnabled(false);
    EXPECT_FALSE(node.getIsEnabled());
    node.setSweepWidth(-0.5f);
    EXPECT_EQ(node.getSweepWidth(), -0.5f);
    node.setSweepWidth(std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(node.getSweepWidth()));
    node.setFrequency(12.5f);
    EXPECT_EQ(node.getFrequency(), 12.5f);
}

// With no oscillator to hold it, the frequency is still the node's parameter: it reads back.
TEST(FlangerNode, NodeWithoutChannelsKeepsItsFrequencySetting) {
    FlangerNode node(0);
    EXPECT_EQ(node.getFrequency(), 0.4f);
    node.setFrequency(3.0f);
    EXPECT_EQ(node.getFrequency(), 3.0f);
    expectMonoBlockPassesThrough(node);
}

TEST(FlangerNode, AcceptsOneOrTwoChannelsAndRefusesThree) {
    FlangerNode node(2);
    expectAcceptsOneOrTwoChannelsAndRefusesThree(node);
    EXPECT_FALSE(accepts(node, {2, 48000, 256}, {2, 96000, 256}));
}

TEST(FlangerNode, DisabledNodePassesInputThroughExactly) {
    expectDisabledNodePassesInputThroughExactly<FlangerNode>();
}

TEST(FlangerNode, ImpulseWithoutSweepGivesAnEchoTwoSamplesApartEach0Point6OfTheLast) {
    FlangerNode node(1);
    node.setSweepWidth(0.0f);
    const Signal output = runBlock(node, impulse(1, 1000), 48000);
    EXPECT_EQ(output[0][0], 1.0f);
    EXPECT_EQ(output[0][1], 0.0f);
    EXPECT_EQ(output[0][2], 1.0f * 0.8f);
    EXPECT_EQ(output[0][4], (0.6f * 1.0f) * 0.8f);
    EXPECT_EQ(output[0][6], (0.6f * (0.6f * 1.0f)) * 0.8f);
    EXPECT_EQ(output[0], echoTrain(2, 1000));
}

TEST(FlangerNode, ImpulseOnOneChannelLeavesTheOtherSilent) {
    FlangerNode node(2);
    node.setSweepWidth(0.0f);
    Signal input(2, std::vector<float>(400, 0.0f));
    input[0][0] = 1.0f;
    const Signal output = runBlock(node, input, 44100);
    EXPECT_EQ(output[0], echoTrain(2, 400));
    EXPECT_EQ(output[1], std::vector<float>(400, 0.0f));
}

TEST(FlangerNode, FirstFrameDelaysAre122And242SamplesAt48kHz) {
    // With the oscillators held still, the first frame's delays hold for the whole block.
    FlangerNode node(2);
    node.setFrequency(0.0f);
    const Signal output = runBlock(node, impulse(2, 3000), 48000);
    EXPECT_EQ(output[0], echoTrain(122, 3000));
    EXPECT_EQ(output[1], echoTrain(242, 3000));
}

TEST(FlangerNode, DisabledNodeKeepsItsFeedbackAndResumesIt) {
    FlangerNode node(1);
    node.setSweepWidth(0.0f);
    // Frames 0 to 2: the impulse, silence, its first echo; the line now holds 0.6 at slot 2.
    const Signal start = runBlock(node, impulse(1, 3), 48000);
    EXPECT_EQ(start[0], (std::vector<float>{1.0f, 0.0f, 0.8f}));

    node.setIsEnabled(false);
    for (std::uint32_t seed = 3; seed < 6; ++seed) {
        const Signal bypassed = randomSignal(1, 500, seed);
        EXPECT_TRUE(sameBits(runBlock(node, bypassed, 48000), bypassed));
    }
    node.setIsEnabled(true);
    const Signal resumed = runBlock(node, Signal(1, std::vector<float>(6, 0.0f)), 48000);
    const float second = (0.6f * 1.0f) * 0.8f;
    const float third = (0.6f * (0.6f * 1.0f)) * 0.8f;
    EXPECT_EQ(resumed[0], (std::vector<float>{0.0f, second, 0.0f, third, 0.0f,
                                              (0.6f * (0.6f * (0.6f * 1.0f))) * 0.8f}));
}

TEST(FlangerNode, SampleRateChangeClearsTheCirculatingFeedback) {
    FlangerNode node(1);
    node.setSweepWidth(0.0f);
    runBlock(node, impulse(1, 5), 48000);
    const Signal after = runBlock(node, Signal(1, std::vector<float>(300, 0.0f)), 44100);
    EXPECT_EQ(after[0], std::vector<float>(300, 0.0f));
}

TEST(FlangerNode, ChannelCountChangeClearsTheLinesButKeepsThePhases) {
    // Stereo, then mono at the same rate: the cleared line gives back the input for the 2
    // frames of base delay.
    expectFormatChangeClearsTheLinesButKeepsThePhases<FlangerNode>(
        randomSignal(2, 3000, 61), randomSignal(1, 3000, 62), 48000, 2);
}

TEST(FlangerNode, BlockThatDoesNotFitPassesThroughAndTouchesNothing) {
    expectBlocksThatDoNotFitTouchNothing<FlangerNode>(false);
}

TEST(FlangerNode, ExtremeSettingsStayInsideTheLines) {
    expectExtremeSettingsMatchThePlainRendering<FlangerNode>(kFlanger, 200, 0);
}

TEST(FlangerNode, SettersMayRunWhileAudioIsProcessed) {
    expectSettersMayRunWhileAudioIsProcessed<FlangerNode>(
        0.001f, 0.004f, 0.2f, 1.5f, [](unsigned int f) { return f % 2 ? 0.5f : -0.5f; });
}

TEST(FlangerNode, NodeBuiltForMoreChannelsRunsThemAll) {
    expectNodeBuiltForMoreChannelsRunsThemAll<FlangerNode>(kFlanger, {0.005f, 0.002f, 0.01f},
                                                           {0.4f, 0.9f, 3.0f});
}

class FlangerMatchesPlainRendering : public RatesAndChannelsTest {};

TEST_P(FlangerMatchesPlainRendering, BitForBit) {
    const auto [rate, channels] = GetParam();
    expectMatchesPlainRendering<FlangerNode>(kFlanger, rate, channels, rate + channels + 1,
                                             rate * 5 + channels,
                                             {0.005f, 0.0f, 0.0007f, 0.012f, 0.3f, 1.7f, -0.004f},
                                             {0.4f, 0.0f, 1.0f, 7.3f, 35.0f, -2.0f});
}

INSTANTIATE_TEST_SUITE_P(RatesAndChannels, FlangerMatchesPlainRendering, ratesAndChannels());

class FlangerMatchesPlainRenderingInBlocksOf : public BlockSizeTest {};

TEST_P(FlangerMatchesPlainRenderingInBlocksOf, BitForBit) {
    const unsigned int size = GetParam();
    expectMatchesPlainRenderingInBlocksOf<FlangerNode>(kFlanger, size, size + 3, size + 9,
                                                       {0.005f, 0.002f, 0.01f}, {0.4f, 0.9f, 3.0f});
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, FlangerMatchesPlainRenderingInBlocksOf, blockSizes());

TEST(FlangerMatchesPlainRenderingAcrossFormatChanges, BitForBit) {
    expectMatchesPlainRenderingAcrossFormatChanges<FlangerNode>(kFlanger, 0.01f, 2.0f, 4321);
}

TEST(FlangerMatchesPlainRenderingMadeThroughTheCatalogue, BitForBit) {
    expectCatalogueNodeMatchesPlainRendering("flanger", kFlanger, 4321);
}
