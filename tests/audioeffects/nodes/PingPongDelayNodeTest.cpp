#include <climits>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "audioeffects/nodes/DelayTestSupport.h"

namespace {

using ostrana::AudioBus;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::extensions::audioeffects::PingPongDelayNode;
using namespace ostrana::delaytest;

PingPongDelayNode makeNode() {
    return PingPongDelayNode(XVAnyMap());
}

// The ping-pong echo written out plainly, one frame and one channel at a time, with the ring
// length kept within 1..48000: for comparing the node against.
class StepByStepPingPong {
  public:
    Signal process(const Signal& input, unsigned int sampleRate, const Parameters& parameters) {
        Signal output = input;
        if (!parameters.isEnabled || parameters.delayMs == 0) return output;
        if (sampleRate != lastSampleRate_ || parameters.delayMs != lastDelayMs_) {
            const double exact = parameters.delayMs * (sampleRate / 1000.0);
            delaySamples_ = exact < 1.0       ? 1
                            : exact > 48000.0 ? 48000
                                              : static_cast<unsigned int>(exact);
            lastSampleRate_ = sampleRate;
            lastDelayMs_ = parameters.delayMs;
        }
        const float gd = parameters.dryMix;
        const float gw = parameters.wetMix;
        const float gf = parameters.feedbackLevel;
        const auto channels = static_cast<unsigned int>(input.size());
        for (unsigned int f = 0; f < frameCount(input); ++f) {
            const unsigned int r = readIndex_;
            const unsigned int w = writeIndex_;
            if (channels != 0) {
                const float x = input[0][f];
                const float a = left_.at(r);
                const float b = right_.at(r);
                left_.at(w) = b * gf + x;
                output[0][f] = x * gd + a * gw;
                for (unsigned int c = 1; c < channels; ++c) {
                    const float xc = input[c][f];
                    const float ac = right_.at(r);
                    const float bc = left_.at(r);
                    right_.at(w) = bc * gf + xc;
                    output[c][f] = xc * gd + ac * gw;
                }
            }
            readIndex_ = (readIndex_ + 1) % delaySamples_;
            writeIndex_ = (writeIndex_ + 1) % delaySamples_;
        }
        return output;
    }

  private:
    std::vector<float> left_ = std::vector<float>(48000, 0.0f);
    std::vector<float> right_ = std::vector<float>(48000, 0.0f);
    unsigned int lastDelayMs_ = 0;
    unsigned int delaySamples_ = 0;
    unsigned int lastSampleRate_ = 0;
    unsigned int readIndex_ = 0;
    unsigned int writeIndex_ = 0;
};

// powers[k] is the feedback gain applied k times, each product rounded to float in turn.
std::vector<float> feedbackPowers(float feedback, unsigned int count) {
    std::vector<float> powers{1.0f};
    for (unsigned int k = 1; k <= count; ++k) powers.push_back(powers.back() * feedback);
    return powers;
}

TEST(PingPongDelayNode, StartsWithTheDescriptorDefaults) {
    const PingPongDelayNode node = makeNode();
    expectDefaultParameters(node);
}

TEST(PingPongDelayNode, SettersStoreAnyValueAsGiven) {
    PingPongDelayNode node = makeNode();
    node.setIsEnabled(false);
    node.setDelayMs(UINT_MAX);
    node.setDryMix(-3.0f);
    node.setWetMix(7.5f);
    node.setFeedbackLevel(1.5f);
    EXPECT_FALSE(node.getIsEnabled());
    EXPECT_EQ(node.getDelayMs(), UINT_MAX);
    EXPECT_EQ(node.getDryMix(), -3.0f);
    EXPECT_EQ(node.getWetMix(), 7.5f);
    EXPECT_EQ(node.getFeedbackLevel(), 1.5f);
}

TEST(PingPongDelayNode, LeftImpulseBouncesRightThenLeft) {
    PingPongDelayNode node = makeNode();
    node.setFeedbackLevel(0.5f);
    const Signal output = processInBlocks(node, impulse(2, 48000, 0), 48000, 4096);
    const std::vector<float> g = feedbackPowers(0.5f, 9);
    const float gw = 0.3f;
    expectEchoes(
        output[0],
        {{0, 0.7f}, {9600, g[0] * gw}, {19200, g[2] * gw}, {28800, g[4] * gw}, {38400, g[6] * gw}});
    expectEchoes(output[1],
                 {{9600, g[1] * gw}, {19200, g[3] * gw}, {28800, g[5] * gw}, {38400, g[7] * gw}});
    EXPECT_EQ(output[0][9600], 0.3f);
    EXPECT_EQ(output[1][9600], 0.5f * 0.3f);
    EXPECT_EQ(output[0][19200], (0.5f * 0.5f) * 0.3f);
}

TEST(PingPongDelayNode, RightImpulseReachesTheLeftOnePeriodLater) {
    PingPongDelayNode node = makeNode();
    const Signal output = processInBlocks(node, impulse(2, 48000, 1), 48000, 4096);
    const std::vector<float> g = feedbackPowers(0.2f, 9);
    const float gw = 0.3f;
    expectEchoes(
        output[1],
        {{0, 0.7f}, {9600, g[0] * gw}, {19200, g[2] * gw}, {28800, g[4] * gw}, {38400, g[6] * gw}});
    expectEchoes(output[0], {{19200, g[1] * gw}, {28800, g[3] * gw}, {38400, g[5] * gw}});
}

TEST(PingPongDelayNode, MonoBlocksUseOnlyTheLeftRingWithoutFeedback) {
    PingPongDelayNode node = makeNode();
    const Signal input = noise(1, 30000, 21);
    const Signal output = processInBlocks(node, input, 48000, 1000);
    for (unsigned int f = 0; f < 30000; ++f) {
        const float delayed = f >= 9600 ? input[0][f - 9600] : 0.0f;
        ASSERT_EQ(output[0][f], input[0][f] * 0.7f + delayed * 0.3f) << "frame " << f;
    }
}

TEST(PingPongDelayNode, MonoBlocksLeaveTheRightRingSilent) {
    PingPongDelayNode node = makeNode();
    (void)processWhole(node, impulse(1, 100, 0), 48000);
    const Signal output = processInBlocks(node, silence(2, 30000), 48000, 4096);
    expectEchoes(output[0], {{9500, 0.3f}});
    expectEchoes(output[1], {});
}

TEST(PingPongDelayNode, DisabledNodePassesInputThroughBitForBitAndFreezesItsRings) {
    Signal odd = noise(2, 3000, 31);
    odd[1][7] = std::nanf("0x42");
    odd[0][8] = -0.0f;

    PingPongDelayNode frozen = makeNode();
    PingPongDelayNode reference = makeNode();
    expectBypassPassesThroughAndFreezes(
        frozen, reference, noise(2, 1200, 32), odd, {{48000, 128}, {96000, 3000}},
        [](PingPongDelayNode& node) { node.setIsEnabled(false); },
        [](PingPongDelayNode& node) { node.setIsEnabled(true); }, noise(2, 25000, 33), 512);
}

TEST(PingPongDelayNode, ZeroDelayPassesInputThroughBitForBitAndFreezesItsRings) {
    const Signal odd = noise(2, 2000, 41);
    PingPongDelayNode frozen = makeNode();
    PingPongDelayNode reference = makeNode();
    const Signal output = expectBypassPassesThroughAndFreezes(
        frozen, reference, impulse(2, 300, 0), odd, {{48000, 100}},
        [](PingPongDelayNode& node) { node.setDelayMs(0); },
        [](PingPongDelayNode& node) { node.setDelayMs(200); }, silence(2, 20000), 4096);
    EXPECT_EQ(output[0][9600 - 300], 0.3f);
}

TEST(PingPongDelayNode, SampleRateChangeShortensTheRingsWithoutClearingThem) {
    PingPongDelayNode node = makeNode();
    (void)processWhole(node, impulse(2, 100, 0), 48000);
    const Signal output = processInBlocks(node, silence(2, 20000), 44100, 4096);
    const std::vector<float> g = feedbackPowers(0.2f, 4);
    // 200 ms at 44100 Hz is 8820 frames; the impulse sits in slot 0 and comes round when the
    // indices, now at 100, wrap at the new length.
    expectEchoes(output[0], {{8720, g[0] * 0.3f}, {8720 + 8820, g[2] * 0.3f}});
    expectEchoes(output[1], {{8720, g[1] * 0.3f}, {8720 + 8820, g[3] * 0.3f}});
}

TEST(PingPongDelayNode, IndicesBeyondAShortenedRingWrapByTheNewLength) {
    PingPongDelayNode node = makeNode();
    Signal first = silence(2, 5001);
    first[0][210] = 1.0f;
    (void)processWhole(node, first, 48000);
    node.setDelayMs(50);
    // The indices stand at 5001. With a ring of 2400 the next frame uses slot 5001 and the one
    // after slot 5002 rem 2400 = 202, so the old impulse in slot 210 is read at frame 9.
    const Signal output = processWhole(node, silence(2, 6000), 48000);
    const std::vector<float> g = feedbackPowers(0.2f, 6);
    expectEchoes(output[0], {{9, g[0] * 0.3f}, {2409, g[2] * 0.3f}, {4809, g[4] * 0.3f}});
    expectEchoes(output[1], {{9, g[1] * 0.3f}, {2409, g[3] * 0.3f}, {4809, g[5] * 0.3f}});
}

TEST(PingPongDelayNode, FramesWithoutChannelsStillAdvanceTheIndices) {
    PingPongDelayNode node = makeNode();
    (void)processWhole(node, impulse(2, 1, 0), 48000);
    AudioBus none(0, 100, 48000);
    AudioBus noneOut(0, 100);
    EXPECT_TRUE(node.process(none, noneOut));
    const Signal output = processInBlocks(node, silence(2, 12000), 48000, 4096);
    expectEchoes(output[0], {{9600 - 101, 0.3f}});
}

TEST(PingPongDelayNode, OutputDoesNotDependOnTheBlockSize) {
    const Signal input = noise(2, 30000, 51);
    const Parameters parameters{
        .delayMs = 17, .dryMix = 0.4f, .wetMix = 0.9f, .feedbackLevel = 0.8f};

    StepByStepPingPong model;
    expectOutputIndependentOfTheBlockSize(makeNode, model, input, 44100, parameters);
}

TEST(PingPongDelayNode, MatchesTheStepByStepEchoThroughParameterAndFormatChanges) {
    const RandomBlockChoices choices{
        .sampleRates = {48000, 44100, 96000, 8000, 0, 999, 1000},
        .delays = {200, 0, 1, 2, 13, 50, 999, 1000, 1001, 4000, UINT_MAX},
        .gains = {0.0f, 0.2f, 0.3f, 0.7f, 1.0f, -0.5f, 1.25f},
        .feedbacks = {0.0f, 0.2f, 0.5f, 0.99f, -0.7f}};
    PingPongDelayNode node = makeNode();
    StepByStepPingPong model;
    // Mostly stereo; one block in four has 0 to 3 channels.
    expectMatchesTheModelThroughRandomBlocks(
        node, model, 77, 150, choices,
        [](std::mt19937& generator) {
            return static_cast<unsigned int>(generator() % 4 == 0 ? generator() % 4 : 2);
        },
        1000);
}

TEST(PingPongDelayNode, ThirdChannelReadsWhatTheSecondJustWrote) {
    PingPongDelayNode node = makeNode();
    Signal input = silence(3, 1);
    input[1][0] = 1.0f;
    const Signal output = processWhole(node, input, 48000);
    // Slot 0 of the right ring holds 1 once channel 1 is done, and channel 2 reads it back.
    EXPECT_EQ(output[1][0], 0.7f);
    EXPECT_EQ(output[2][0], 0.3f);
}

TEST(PingPongDelayNode, AcceptsOnlyTwoChannels) {
    PingPongDelayNode node = makeNode();
    for (unsigned int channels : {0u, 1u, 2u, 3u}) {
        EXPECT_EQ(accepts(node, {channels, 48000, 256}, {channels, 48000, 256}), channels == 2)
            << channels << " channels";
    }
    EXPECT_TRUE(accepts(node, {0, 48000, 256}, {2, 48000, 256}));
    EXPECT_FALSE(accepts(node, {2, 48000, 256}, {2, 44100, 256}));
}

TEST(PingPongDelayNode, DelaysBeyondTheRingsAreLimitedToTheWholeRing) {
    expectDelaysBeyondTheLineLimitedToIt(makeNode, impulse(2, 50000, 0), {1001u, 4000u, UINT_MAX});
}

TEST(PingPongDelayNode, DelaysBelowOneFrameAreLimitedToOneFrame) {
    const Signal input = noise(2, 5000, 61);
    PingPongDelayNode oneFrame = makeNode();
    oneFrame.setDelayMs(1);
    const Signal expected = processInBlocks(oneFrame, input, 1000, 512);
    EXPECT_EQ(expected[0][1], input[0][1] * 0.7f + input[0][0] * 0.3f);

    for (unsigned int sampleRate : {999u, 1u, 0u}) {
        PingPongDelayNode node = makeNode();
        node.setDelayMs(1);
        expectSameBits(processInBlocks(node, input, sampleRate, 512), expected);
    }
}

TEST(PingPongDelayNode, NotANumberAndInfiniteGainsDoNotBreakIt) {
    PingPongDelayNode nanDry = makeNode();
    nanDry.setDryMix(std::nanf(""));
    const Signal quiet = processInBlocks(nanDry, noise(2, 5000, 71), 48000, 1000);
    for (const auto& channel : quiet) {
        for (float value : channel) ASSERT_TRUE(std::isnan(value));
    }

    PingPongDelayNode infiniteFeedback = makeNode();
    infiniteFeedback.setFeedbackLevel(std::numeric_limits<float>::infinity());
    const Signal loud = processInBlocks(infiniteFeedback, impulse(2, 20000, 0), 48000, 4096);
    EXPECT_EQ(loud[0][0], 0.7f);
    // Infinity times the silent rings is not a number, and that is what comes back.
    EXPECT_TRUE(std::isnan(loud[0][9600]));
    EXPECT_TRUE(std::isnan(loud[1][9601]));

    PingPongDelayNode infiniteWet = makeNode();
    infiniteWet.setWetMix(std::numeric_limits<float>::infinity());
    const Signal wet = processInBlocks(infiniteWet, impulse(2, 10000, 0), 48000, 4096);
    EXPECT_TRUE(std::isnan(wet[0][0]));
    EXPECT_EQ(wet[0][9600], std::numeric_limits<float>::infinity());
}

TEST(PingPongDelayNode, BlocksWiderThanTheOutputPassThroughAndTouchNothing) {
    PingPongDelayNode node = makeNode();
    PingPongDelayNode reference = makeNode();
    expectLinesLeftAsTheyWere(
        node, reference, impulse(2, 500, 0),
        [](PingPongDelayNode& misfit) {
            expectNarrowAndShortOutputsPassThrough(misfit, 3, 400, 1, 0.25f);
        },
        silence(2, 12000), 4096);
}

TEST(PingPongDelayNode, ProcessesThroughTheListLevelCalls) {
    PingPongDelayNode node = makeNode();
    expectImpulseThroughTheListLevelCalls(node, 32, 0, 5);
}

TEST(PingPongDelayNode, RegistersItsFivePropertiesInOrderWithTheirSchemas) {
    PingPongDelayNode node = makeNode();
    const auto properties = node.getProperties();
    const std::vector<std::string> names{"enabled", "delayMs", "dryMix", "wetMix", "feedbackLevel"};
    ASSERT_EQ(properties.size(), names.size());
    const ostrana::NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(properties[i].name, names[i]);
        EXPECT_EQ(properties[i].schema, info.getProperty(names[i])) << names[i];
    }
}

TEST(PingPongDelayNode, PropertySettersStoreWithoutClamping) {
    PingPongDelayNode node = makeNode();
    EXPECT_TRUE(node.setValue("dryMix", XVAny(5.0f)).isOk());
    EXPECT_EQ(node.getDryMix(), 5.0f);
    const auto dry = node.getValue("dryMix");
    ASSERT_TRUE(dry.isOk());
    EXPECT_EQ(dry.value().kind(), XVAny::Kind::Float);
    EXPECT_EQ(XVAny::convert<float>(dry.value()), 5.0f);

    EXPECT_TRUE(node.setValue("wetMix", XVAny(-2.0f)).isOk());
    EXPECT_EQ(node.getWetMix(), -2.0f);
    EXPECT_TRUE(node.setValue("feedbackLevel", XVAny(1.0f)).isOk());
    EXPECT_EQ(node.getFeedbackLevel(), 1.0f);
    EXPECT_TRUE(node.setValue("enabled", XVAny(false)).isOk());
    EXPECT_FALSE(node.getIsEnabled());
    EXPECT_TRUE(node.setValue("delayMs", XVAny(5000)).isOk());
    EXPECT_EQ(node.getDelayMs(), 5000u);
}

TEST(PingPongDelayNode, DelayPropertyReadsAsUnsignedAndTakesAnInt) {
    PingPongDelayNode node = makeNode();
    const auto delay = node.getValue("delayMs");
    ASSERT_TRUE(delay.isOk());
    EXPECT_EQ(delay.value().kind(), XVAny::Kind::UnsignedInt);
    EXPECT_EQ(XVAny::convert<unsigned int>(delay.value()), 200u);

    EXPECT_TRUE(node.setValue("delayMs", XVAny(300)).isOk());
    EXPECT_EQ(node.getDelayMs(), 300u);
    EXPECT_TRUE(node.setValue("delayMs", XVAny(450u)).isOk());
    EXPECT_EQ(XVAny::convert<unsigned int>(node.getValue("delayMs").value()), 450u);
}

TEST(PingPongDelayNode, PropertyGettersFollowTheAccessors) {
    PingPongDelayNode node = makeNode();
    node.setIsEnabled(false);
    node.setWetMix(0.125f);
    node.setFeedbackLevel(0.5f);
    EXPECT_EQ(node.getValue("enabled").value(), XVAny(false));
    EXPECT_EQ(node.getValue("wetMix").value(), XVAny(0.125f));
    EXPECT_EQ(node.getValue("feedbackLevel").value(), XVAny(0.5f));
    EXPECT_EQ(node.getValue("dryMix").value(), XVAny(0.7f));
}

TEST(PingPongDelayNode, PropertyOfTheWrongKindIsRefusedAndLeavesTheValue) {
    PingPongDelayNode node = makeNode();
    EXPECT_FALSE(node.setValue("dryMix", XVAny("loud")).isOk());
    EXPECT_EQ(node.getDryMix(), 0.7f);
    EXPECT_FALSE(node.setValue("delayMs", XVAny(-5)).isOk());
    EXPECT_EQ(node.getDelayMs(), 200u);
}

TEST(PingPongDelayNode, PropertyChangesApplyFromTheNextBlock) {
    PingPongDelayNode node = makeNode();
    ASSERT_TRUE(node.setValue("delayMs", XVAny(10)).isOk());
    ASSERT_TRUE(node.setValue("dryMix", XVAny(0.5f)).isOk());
    const Signal output = processWhole(node, impulse(2, 1000, 0), 48000);
    EXPECT_EQ(output[0][0], 0.5f);
    EXPECT_EQ(output[0][480], 0.3f);
}

TEST(PingPongDelayNode, GainsSetFromAnotherThreadApplyPerBlock) {
    PingPongDelayNode node = makeNode();
    for (const Signal& output : outputsWhileTheDryMixChanges(node)) {
        const float first = output[0][0];
        ASSERT_TRUE(first == 0.25f || first == 0.5f) << first;
        for (const auto& channel : output) {
            for (float value : channel) ASSERT_EQ(value, first);
        }
    }
}

TEST(PingPongDelayNode, DescriptorNamesTheNodeType) {
    const ostrana::NodeTypeInfo info = PingPongDelayNode::getNodeTypeInfo();
    EXPECT_EQ(info.getFQTypeName(), "AudioEffects.PingPongDelay");
    EXPECT_EQ(info.properties.size(), 5u);
}

}  // namespace
