#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <tuple>
#include <vector>

#include "nodes/FlangerNode.h"
#include "tests/nodes/ModulationTestSupport.h"

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::extensions::audioeffects::FlangerNode;
using namespace ostrana::modulationtest;

namespace {

// The flanger's arithmetic written out plainly, step by step, sharing nothing with the node:
// its own rings, its own oscillators, and sinf and fmodf called directly.
class ReferenceFlanger {
  public:
    explicit ReferenceFlanger(unsigned int capacity) {
        for (unsigned int i = 0; i < capacity; ++i) {
            lines_.push_back(std::vector<float>(kSize, 0.0f));
            writePointers_.push_back(0);
            PlainOscillator oscillator;
            oscillator.frequency = 0.4f;
            oscillator.phaseOffset = static_cast<float>(i * 1.5707963267948966);
            oscillators_.push_back(oscillator);
        }
    }

    void apply(const BlockSetting& block) {
        sweepWidth_ = block.sweepWidth;
        for (PlainOscillator& oscillator : oscillators_) oscillator.frequency = block.frequency;
        enabled_ = block.enabled;
    }

    void process(AudioBus& inBus, AudioBus& outBus) {
        const unsigned int rate = inBus.buffer.getSampleRate();
        const unsigned int channels = inBus.buffer.getNumberOfChannels();
        const unsigned int frames = inBus.buffer.getNumberOfFrames();
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < frames; ++f) {
                outBus.buffer.setSample(c, f, inBus.buffer.getSample(c, f));
            }
        }
        if (!enabled_) return;
        if (rate != lastRate_ || channels != lastChannels_) {
            for (std::size_t i = 0; i < lines_.size(); ++i) {
                for (float& sample : lines_[i]) sample = 0.0f;
                writePointers_[i] = 0;
            }
            lastRate_ = rate;
            lastChannels_ = channels;
        }
        if (frames == 0 || channels == 0) return;
        const float rateF = static_cast<float>(rate);
        for (unsigned int f = 0; f < frames; ++f) {
            for (unsigned int c = 0; c < channels; ++c) {
                const float m = oscillators_[c].step(static_cast<int>(rate));
                const float d = (m * sweepWidth_) * rateF;
                const float x = inBus.buffer.getSample(c, f);
                int& w = writePointers_[c];
                float p = ((static_cast<float>(w) - d) + (-2.0f)) + static_cast<float>(kSize);
                p = fmodf(p, static_cast<float>(kSize));
                const float wet = plainInterpolate(lines_[c], p);
                lines_[c][w] = 0.6f * wet + x;
                w = (w + 1 + kSize) % kSize;
                outBus.buffer.setSample(c, f, wet * 0.8f + x);
            }
        }
    }

  private:
    static constexpr int kSize = 48000;

    std::vector<std::vector<float>> lines_;
    std::vector<int> writePointers_;
    std::vector<PlainOscillator> oscillators_;
    unsigned int lastRate_ = 0;
    unsigned int lastChannels_ = 0;
    float sweepWidth_ = 0.005f;
    bool enabled_ = true;
};

// Runs one block through the node and returns its output.
Signal runBlock(FlangerNode& node, const Signal& input, unsigned int rate) {
    const unsigned int channels = static_cast<unsigned int>(input.size());
    const unsigned int frames = channels == 0 ? 0 : static_cast<unsigned int>(input[0].size());
    return renderNode(
        node,
        {{frames, rate, channels, node.getSweepWidth(), node.getFrequency(), node.getIsEnabled()}},
        input);
}

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
    FlangerNode node(2);
    EXPECT_TRUE(node.getIsEnabled());
    EXPECT_EQ(node.getSweepWidth(), 0.005f);
    EXPECT_EQ(node.getFrequency(), 0.4f);
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

TEST(FlangerNode, NodeWithoutChannelsReportsTheStartingFrequency) {
    FlangerNode node(0);
    EXPECT_EQ(node.getFrequency(), 0.4f);
    node.setFrequency(3.0f);
    EXPECT_EQ(node.getFrequency(), 0.4f);
    const Signal input = randomSignal(1, 64, 7);
    EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
}

TEST(FlangerNode, AcceptsOneOrTwoChannelsAndRefusesThree) {
    FlangerNode node(2);
    for (unsigned int channels : {0u, 1u, 2u}) {
        AudioBusFormat in{channels, 48000, 256};
        AudioBusFormat out{channels, 48000, 256};
        EXPECT_TRUE(node.setBusFormat(in, out)) << channels << " channels";
    }
    AudioBusFormat in{3, 48000, 256};
    AudioBusFormat out{3, 48000, 256};
    EXPECT_FALSE(node.setBusFormat(in, out));
    AudioBusFormat mismatchedIn{2, 48000, 256};
    AudioBusFormat mismatchedOut{2, 96000, 256};
    EXPECT_FALSE(node.setBusFormat(mismatchedIn, mismatchedOut));
}

TEST(FlangerNode, DisabledNodePassesInputThroughExactly) {
    FlangerNode node(2);
    node.setIsEnabled(false);
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        const Signal input = randomSignal(2, 4096, seed);
        EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
    }
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
    const Signal first = randomSignal(2, 3000, 61);
    const Signal second = randomSignal(1, 3000, 62);

    FlangerNode node(2);
    runBlock(node, first, 48000);
    const Signal after = runBlock(node, second, 48000);
    EXPECT_EQ(slice(after[0], 0, 2), slice(second[0], 0, 2));

    // Phases depend only on the steps taken: a node that ran silence for as long agrees.
    FlangerNode silent(2);
    runBlock(silent, Signal(2, std::vector<float>(3000, 0.0f)), 48000);
    EXPECT_TRUE(sameBits(after, runBlock(silent, second, 48000)));

    FlangerNode fresh(2);
    EXPECT_FALSE(sameBits(after, runBlock(fresh, second, 48000)));
}

TEST(FlangerNode, BlockThatDoesNotFitPassesThroughAndTouchesNothing) {
    const Signal first = randomSignal(1, 2000, 81);
    const Signal second = randomSignal(1, 3000, 82);

    FlangerNode node(1);
    runBlock(node, first, 48000);
    const Signal stereo = randomSignal(2, 500, 83);
    EXPECT_TRUE(sameBits(runBlock(node, stereo, 48000), stereo));
    const Signal after = runBlock(node, second, 48000);

    FlangerNode untouched(1);
    runBlock(untouched, first, 48000);
    EXPECT_TRUE(sameBits(after, runBlock(untouched, second, 48000)));
}

TEST(FlangerNode, ExtremeSettingsStayInsideTheLines) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> sweepWidths = {nan, inf, -inf, 1e30f, -1e30f, 3.4e38f, 1e-45f, 2.0f};
    const std::vector<float> frequencies = {nan, inf, -inf, 1e30f, -5.0f, 0.0f, 48000.0f};
    const std::vector<unsigned int> rates = {0, 1, 384000, 4294967295u};
    std::uint32_t seed = 200;
    for (unsigned int rate : rates) {
        for (float sweepWidth : sweepWidths) {
            for (float frequency : frequencies) {
                const std::vector<BlockSetting> schedule = {
                    {300, rate, 2, sweepWidth, frequency, true},
                    {200, rate, 2, 0.005f, 0.4f, true},
                };
                const Signal input = randomSignal(2, 500, ++seed);
                FlangerNode node(2);
                ReferenceFlanger reference(2);
                EXPECT_TRUE(sameBits(renderNode(node, schedule, input),
                                     render(reference, schedule, input), true))
                    << "rate " << rate << " sweepWidth " << sweepWidth << " frequency "
                    << frequency;
            }
        }
    }
}

TEST(FlangerNode, SettersMayRunWhileAudioIsProcessed) {
    FlangerNode node(2);
    std::atomic<bool> done{false};
    std::thread control([&node, &done] {
        unsigned int step = 0;
        while (!done.load()) {
            node.setSweepWidth(step % 2 == 0 ? 0.001f : 0.004f);
            node.setFrequency(step % 3 == 0 ? 0.2f : 1.5f);
            node.setIsEnabled(step % 5 != 0);
            ++step;
        }
    });
    AudioBus inBus(2, 256, 48000);
    AudioBus outBus(2, 256, 0);
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 256; ++f) inBus.buffer.setSample(c, f, f % 2 ? 0.5f : -0.5f);
    }
    std::size_t nonFinite = 0;
    for (int block = 0; block < 400; ++block) {
        ASSERT_TRUE(node.process(inBus, outBus));
        for (unsigned int c = 0; c < 2; ++c) {
            for (unsigned int f = 0; f < 256; ++f) {
                nonFinite += std::isfinite(outBus.buffer.getSample(c, f)) ? 0 : 1;
            }
        }
    }
    done.store(true);
    control.join();
    EXPECT_EQ(nonFinite, 0u);
}

TEST(FlangerNode, NodeBuiltForMoreChannelsRunsThemAll) {
    // Three channels are refused by the bus format, but a node built for them runs them when
    // handed a block directly.
    const std::vector<BlockSetting> schedule = randomSchedule(
        17, 60000, 48000, 3, {1, 7, 64, 256, 4096}, {0.005f, 0.002f, 0.01f}, {0.4f, 0.9f, 3.0f});
    const Signal input = randomSignal(3, totalFrames(schedule), 18);
    FlangerNode node(3);
    ReferenceFlanger reference(3);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}

// Long random signals through the node and through the plain rendering above, with sweep
// width, frequency and the enable flag changed between blocks of mixed sizes.
class FlangerMatchesPlainRendering
    : public ::testing::TestWithParam<std::tuple<unsigned int, unsigned int>> {};

TEST_P(FlangerMatchesPlainRendering, BitForBit) {
    const auto [rate, channels] = GetParam();
    const std::vector<BlockSetting> schedule =
        randomSchedule(rate + channels + 1, 130000, rate, channels, {1, 7, 64, 256, 4096},
                       {0.005f, 0.0f, 0.0007f, 0.012f, 0.3f, 1.7f, -0.004f},
                       {0.4f, 0.0f, 1.0f, 7.3f, 35.0f, -2.0f});
    const Signal input = randomSignal(channels, totalFrames(schedule), rate * 5 + channels);
    FlangerNode node(2);
    ReferenceFlanger reference(2);
    const Signal expected = render(reference, schedule, input);
    ASSERT_EQ(countNaN(expected), 0u);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), expected));
}

INSTANTIATE_TEST_SUITE_P(RatesAndChannels, FlangerMatchesPlainRendering,
                         ::testing::Combine(::testing::Values(44100u, 48000u, 96000u),
                                            ::testing::Values(1u, 2u)));

class FlangerMatchesPlainRenderingInBlocksOf : public ::testing::TestWithParam<unsigned int> {};

TEST_P(FlangerMatchesPlainRenderingInBlocksOf, BitForBit) {
    const unsigned int size = GetParam();
    const std::vector<BlockSetting> schedule = randomSchedule(
        size + 3, 100000, 48000, 2, {size}, {0.005f, 0.002f, 0.01f}, {0.4f, 0.9f, 3.0f});
    const Signal input = randomSignal(2, totalFrames(schedule), size + 9);
    FlangerNode node(2);
    ReferenceFlanger reference(2);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, FlangerMatchesPlainRenderingInBlocksOf,
                         ::testing::Values(1u, 7u, 64u, 256u, 4096u));

TEST(FlangerMatchesPlainRenderingAcrossFormatChanges, BitForBit) {
    // Rate and channel count change between blocks, with empty blocks among them.
    std::vector<BlockSetting> schedule;
    const unsigned int rates[] = {44100, 48000, 96000};
    const unsigned int sizes[] = {4096, 0, 256, 7, 4096, 64, 1, 4096};
    const unsigned int channelChoices[] = {2, 1, 2, 0, 1};
    std::size_t total = 0;
    for (int i = 0; i < 60; ++i) {
        const BlockSetting block{sizes[i % 8],
                                 rates[(i / 5) % 3],
                                 channelChoices[(i / 4) % 5],
                                 i % 7 == 0 ? 0.01f : 0.005f,
                                 i % 9 == 0 ? 2.0f : 0.4f,
                                 i % 11 != 10};
        schedule.push_back(block);
        total += block.frames;
    }
    const Signal input = randomSignal(2, total, 4321);
    FlangerNode node(2);
    ReferenceFlanger reference(2);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}
