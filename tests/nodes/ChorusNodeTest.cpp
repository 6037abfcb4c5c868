#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <tuple>
#include <vector>

#include "nodes/ChorusNode.h"
#include "tests/nodes/ModulationTestSupport.h"

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::extensions::audioeffects::ChorusNode;
using namespace ostrana::modulationtest;

namespace {

// The chorus's arithmetic written out plainly, step by step, sharing nothing with the node:
// its own rings, its own oscillators, and sinf and fmodf called directly.
class ReferenceChorus {
  public:
    explicit ReferenceChorus(unsigned int capacity) {
        for (unsigned int i = 0; i < capacity; ++i) {
            lines_.push_back(std::vector<float>(kSize, 0.0f));
            writePointers_.push_back(0);
            PlainOscillator oscillator;
            oscillator.frequency = 0.2f;
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
                float p = ((static_cast<float>(w) - d) + (-1002.0f)) + static_cast<float>(kSize);
                p = fmodf(p, static_cast<float>(kSize));
                const float wet = plainInterpolate(lines_[c], p);
                lines_[c][w] = x;
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
    float sweepWidth_ = 0.025f;
    bool enabled_ = true;
};

constexpr float kSweepWidth = 0.025f;

// Runs one block through the node and returns its output.
Signal runBlock(ChorusNode& node, const Signal& input, unsigned int rate) {
    const unsigned int channels = static_cast<unsigned int>(input.size());
    const unsigned int frames = channels == 0 ? 0 : static_cast<unsigned int>(input[0].size());
    return renderNode(
        node,
        {{frames, rate, channels, node.getSweepWidth(), node.getFrequency(), node.getIsEnabled()}},
        input);
}

// Runs a block of no channels and the given frames.
void runEmptyChannels(ChorusNode& node, unsigned int frames, unsigned int rate) {
    AudioBus inBus(0, frames, rate);
    AudioBus outBus(0, frames, 0);
    ASSERT_TRUE(node.process(inBus, outBus));
}

}  // namespace

TEST(ChorusNode, StartsWithItsDefaults) {
    ChorusNode node(2);
    EXPECT_TRUE(node.getIsEnabled());
    EXPECT_EQ(node.getSweepWidth(), 0.025f);
    EXPECT_EQ(node.getFrequency(), 0.2f);
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

TEST(ChorusNode, NodeWithoutChannelsReportsTheStartingFrequency) {
    ChorusNode node(0);
    EXPECT_EQ(node.getFrequency(), 0.2f);
    node.setFrequency(3.0f);
    EXPECT_EQ(node.getFrequency(), 0.2f);
    runEmptyChannels(node, 64, 48000);
    // A block with a channel does not fit a node without lines: it passes through untouched.
    const Signal input = randomSignal(1, 64, 7);
    EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
}

TEST(ChorusNode, AcceptsOneOrTwoChannelsAndRefusesThree) {
    ChorusNode node(2);
    for (unsigned int channels : {0u, 1u, 2u}) {
        AudioBusFormat in{channels, 48000, 256};
        AudioBusFormat out{channels, 48000, 256};
        EXPECT_TRUE(node.setBusFormat(in, out)) << channels << " channels";
    }
    AudioBusFormat in{3, 48000, 256};
    AudioBusFormat out{3, 48000, 256};
    EXPECT_FALSE(node.setBusFormat(in, out));
}

TEST(ChorusNode, AppliesTheChannelTestToTheMatchedInputFormat) {
    ChorusNode node(2);
    // The input leaves its channel count open and takes the output's 3: refused.
    AudioBusFormat in{0, 48000, 256};
    AudioBusFormat out{3, 48000, 256};
    EXPECT_FALSE(node.setBusFormat(in, out));
    AudioBusFormat openIn{0, 48000, 256};
    AudioBusFormat stereoOut{2, 48000, 256};
    EXPECT_TRUE(node.setBusFormat(openIn, stereoOut));
    EXPECT_EQ(openIn.numberOfChannels, 2u);
}

TEST(ChorusNode, RefusesFormatsThatDoNotMatch) {
    ChorusNode node(2);
    for (unsigned int channels : {1u, 2u}) {
        AudioBusFormat in{channels, 48000, 256};
        AudioBusFormat out{channels, 44100, 256};
        EXPECT_FALSE(node.setBusFormat(in, out)) << channels << " channels";
    }
    AudioBusFormat in{1, 48000, 256};
    AudioBusFormat out{2, 48000, 256};
    EXPECT_FALSE(node.setBusFormat(in, out));
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
    ChorusNode node(2);
    node.setIsEnabled(false);
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        const Signal input = randomSignal(2, 4096, seed);
        EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
    }
}

TEST(ChorusNode, DisabledBlocksLeaveOscillatorsAndLinesWhereTheyWere) {
    const Signal first = randomSignal(2, 3000, 21);
    const Signal second = randomSignal(2, 6000, 22);

    ChorusNode paused(2);
    runBlock(paused, first, 48000);
    paused.setIsEnabled(false);
    for (std::uint32_t seed = 30; seed < 35; ++seed) {
        const Signal bypassed = randomSignal(2, 1000, seed);
        EXPECT_TRUE(sameBits(runBlock(paused, bypassed, 48000), bypassed));
    }
    paused.setIsEnabled(true);
    const Signal resumed = runBlock(paused, second, 48000);

    ChorusNode uninterrupted(2);
    runBlock(uninterrupted, first, 48000);
    EXPECT_TRUE(sameBits(resumed, runBlock(uninterrupted, second, 48000)));
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
    const Signal first = randomSignal(2, 5000, 61);
    const Signal second = randomSignal(2, 5000, 62);

    ChorusNode node(2);
    runBlock(node, first, 48000);
    const Signal after = runBlock(node, second, 44100);
    for (unsigned int c = 0; c < 2; ++c) {
        EXPECT_EQ(slice(after[c], 0, 1002), slice(second[c], 0, 1002)) << "channel " << c;
    }

    // The oscillators' phases depend only on how many steps they took, not on the signal: a
    // node that ran silence for as long gives the same output after the change.
    ChorusNode silent(2);
    runBlock(silent, Signal(2, std::vector<float>(5000, 0.0f)), 48000);
    EXPECT_TRUE(sameBits(after, runBlock(silent, second, 44100)));

    // A fresh node starts its oscillators at phase 0 and so differs.
    ChorusNode fresh(2);
    EXPECT_FALSE(sameBits(after, runBlock(fresh, second, 44100)));
}

TEST(ChorusNode, SetFrequencyChangesEveryOscillator) {
    ChorusNode node(2);
    node.setFrequency(1.0f);
    EXPECT_EQ(node.getFrequency(), 1.0f);

    const std::vector<BlockSetting> schedule = {{30000, 48000, 2, kSweepWidth, 1.0f, true}};
    const Signal input = randomSignal(2, 30000, 71);
    ReferenceChorus reference(2);
    const Signal expected = render(reference, schedule, input);
    EXPECT_TRUE(sameBits(runBlock(node, input, 48000), expected));

    // Channel 1 differs from a node left at 0.2 Hz, so its oscillator was changed too.
    ChorusNode slow(2);
    const Signal slowOutput = runBlock(slow, input, 48000);
    const Signal fast = expected;
    EXPECT_FALSE(sameBits(Signal{slowOutput[1]}, Signal{fast[1]}));
}

TEST(ChorusNode, BlockThatDoesNotFitPassesThroughAndTouchesNothing) {
    const Signal first = randomSignal(1, 2000, 81);
    const Signal second = randomSignal(1, 3000, 82);

    ChorusNode node(1);
    runBlock(node, first, 48000);
    // Two channels on a node built for one.
    const Signal stereo = randomSignal(2, 500, 83);
    EXPECT_TRUE(sameBits(runBlock(node, stereo, 48000), stereo));
    // An output bus too small for the input's frames.
    AudioBus inBus(1, 256, 48000);
    AudioBus outBus(1, 128, 0);
    for (unsigned int f = 0; f < 256; ++f) inBus.buffer.setSample(0, f, 0.25f);
    ASSERT_TRUE(node.process(inBus, outBus));
    for (unsigned int f = 0; f < 128; ++f) ASSERT_EQ(outBus.buffer.getSample(0, f), 0.25f);
    const Signal after = runBlock(node, second, 48000);

    ChorusNode untouched(1);
    runBlock(untouched, first, 48000);
    EXPECT_TRUE(sameBits(after, runBlock(untouched, second, 48000)));
}

TEST(ChorusNode, ExtremeSettingsStayInsideTheLines) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> sweepWidths = {nan, inf, -inf, 1e30f, -1e30f, 3.4e38f, 1e-45f, 2.0f};
    const std::vector<float> frequencies = {nan, inf, -inf, 1e30f, -5.0f, 0.0f, 48000.0f};
    const std::vector<unsigned int> rates = {0, 1, 384000, 4294967295u};
    std::uint32_t seed = 100;
    for (unsigned int rate : rates) {
        for (float sweepWidth : sweepWidths) {
            for (float frequency : frequencies) {
                const std::vector<BlockSetting> schedule = {
                    {300, rate, 2, sweepWidth, frequency, true},
                    {200, rate, 2, 0.025f, 0.2f, true},
                };
                const Signal input = randomSignal(2, 500, ++seed);
                ChorusNode node(2);
                ReferenceChorus reference(2);
                EXPECT_TRUE(sameBits(renderNode(node, schedule, input),
                                     render(reference, schedule, input), true))
                    << "rate " << rate << " sweepWidth " << sweepWidth << " frequency "
                    << frequency;
            }
        }
    }
}

TEST(ChorusNode, SettersMayRunWhileAudioIsProcessed) {
    ChorusNode node(2);
    std::atomic<bool> done{false};
    std::thread control([&node, &done] {
        unsigned int step = 0;
        while (!done.load()) {
            node.setSweepWidth(step % 2 == 0 ? 0.01f : 0.03f);
            node.setFrequency(step % 3 == 0 ? 0.5f : 2.0f);
            node.setIsEnabled(step % 5 != 0);
            ++step;
        }
    });
    AudioBus inBus(2, 256, 48000);
    AudioBus outBus(2, 256, 0);
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 256; ++f) inBus.buffer.setSample(c, f, 0.5f);
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

TEST(ChorusNode, NodeBuiltForMoreChannelsRunsThemAll) {
    // Three channels are refused by the bus format, but a node built for them runs them when
    // handed a block directly.
    const std::vector<BlockSetting> schedule = randomSchedule(
        17, 60000, 48000, 3, {1, 7, 64, 256, 4096}, {0.025f, 0.01f, 0.05f}, {0.2f, 0.9f, 3.0f});
    const Signal input = randomSignal(3, totalFrames(schedule), 18);
    ChorusNode node(3);
    ReferenceChorus reference(3);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}

// Long random signals through the node and through the plain rendering above, with sweep
// width, frequency and the enable flag changed between blocks of mixed sizes.
class ChorusMatchesPlainRendering
    : public ::testing::TestWithParam<std::tuple<unsigned int, unsigned int>> {};

TEST_P(ChorusMatchesPlainRendering, BitForBit) {
    const auto [rate, channels] = GetParam();
    const std::vector<BlockSetting> schedule = randomSchedule(
        rate + channels, 130000, rate, channels, {1, 7, 64, 256, 4096},
        {0.025f, 0.0f, 0.0013f, 0.04f, 0.3f, 1.7f, -0.02f}, {0.2f, 0.0f, 1.0f, 7.3f, 35.0f, -2.0f});
    const Signal input = randomSignal(channels, totalFrames(schedule), rate * 3 + channels);
    ChorusNode node(2);
    ReferenceChorus reference(2);
    const Signal expected = render(reference, schedule, input);
    ASSERT_EQ(countNaN(expected), 0u);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), expected));
}

INSTANTIATE_TEST_SUITE_P(RatesAndChannels, ChorusMatchesPlainRendering,
                         ::testing::Combine(::testing::Values(44100u, 48000u, 96000u),
                                            ::testing::Values(1u, 2u)));

class ChorusMatchesPlainRenderingInBlocksOf : public ::testing::TestWithParam<unsigned int> {};

TEST_P(ChorusMatchesPlainRenderingInBlocksOf, BitForBit) {
    const unsigned int size = GetParam();
    const std::vector<BlockSetting> schedule =
        randomSchedule(size, 100000, 48000, 2, {size}, {0.025f, 0.01f, 0.05f}, {0.2f, 0.9f, 3.0f});
    const Signal input = randomSignal(2, totalFrames(schedule), size + 5);
    ChorusNode node(2);
    ReferenceChorus reference(2);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, ChorusMatchesPlainRenderingInBlocksOf,
                         ::testing::Values(1u, 7u, 64u, 256u, 4096u));

TEST(ChorusMatchesPlainRenderingAcrossFormatChanges, BitForBit) {
    // Rate and channel count change between blocks, with empty blocks among them.
    std::vector<BlockSetting> schedule;
    const unsigned int rates[] = {44100, 48000, 96000};
    const unsigned int sizes[] = {4096, 0, 256, 7, 4096, 64, 1, 4096};
    std::size_t total = 0;
    const unsigned int channelChoices[] = {2, 1, 2, 0, 1};
    for (int i = 0; i < 60; ++i) {
        const unsigned int channels = channelChoices[(i / 4) % 5];
        const BlockSetting block{sizes[i % 8],
                                 rates[(i / 5) % 3],
                                 channels,
                                 i % 7 == 0 ? 0.05f : 0.025f,
                                 i % 9 == 0 ? 2.0f : 0.2f,
                                 i % 11 != 10};
        schedule.push_back(block);
        total += block.frames;
    }
    const Signal input = randomSignal(2, total, 1234);
    ChorusNode node(2);
    ReferenceChorus reference(2);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}
