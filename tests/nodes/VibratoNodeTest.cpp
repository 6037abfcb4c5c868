#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <tuple>
#include <vector>

#include "nodes/VibratoNode.h"
#include "tests/nodes/ModulationTestSupport.h"

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::extensions::audioeffects::VibratoNode;
using namespace ostrana::modulationtest;

namespace {

// The vibrato's arithmetic written out plainly, step by step, sharing nothing with the node:
// its own rings, its own oscillator, and sinf and fmodf called directly.
class ReferenceVibrato {
  public:
    explicit ReferenceVibrato(unsigned int capacity)
        : lines_(capacity, std::vector<float>(kSize, 0.0f)), writePointers_(capacity, 0) {
        oscillator_.frequency = 4.0f;
    }

    void apply(const BlockSetting& block) {
        sweepWidth_ = block.sweepWidth;
        oscillator_.frequency = block.frequency;
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
        if (frames == 0) return;
        if (channels == 0) {
            for (unsigned int f = 0; f < frames; ++f) oscillator_.step(static_cast<int>(rate));
            return;
        }
        const float rateF = static_cast<float>(rate);
        for (unsigned int f = 0; f < frames; ++f) {
            const float m = oscillator_.step(static_cast<int>(rate));
            const float d = (m * sweepWidth_) * rateF;
            for (unsigned int c = 0; c < channels; ++c) {
                const float x = inBus.buffer.getSample(c, f);
                int& w = writePointers_[c];
                lines_[c][w] = x;
                float p = ((static_cast<float>(w) - d) + (-1.0f)) + static_cast<float>(kSize);
                p = fmodf(p, static_cast<float>(kSize));
                const float wet = plainInterpolate(lines_[c], p);
                w = (w + 1 + kSize) % kSize;
                outBus.buffer.setSample(c, f, wet);
            }
        }
    }

  private:
    static constexpr int kSize = 48000;

    std::vector<std::vector<float>> lines_;
    std::vector<int> writePointers_;
    PlainOscillator oscillator_;
    unsigned int lastRate_ = 0;
    unsigned int lastChannels_ = 0;
    float sweepWidth_ = 0.01f;
    bool enabled_ = true;
};

// Runs one block through the node and returns its output.
Signal runBlock(VibratoNode& node, const Signal& input, unsigned int rate) {
    const unsigned int channels = static_cast<unsigned int>(input.size());
    const unsigned int frames = channels == 0 ? 0 : static_cast<unsigned int>(input[0].size());
    return renderNode(
        node,
        {{frames, rate, channels, node.getSweepWidth(), node.getFrequency(), node.getIsEnabled()}},
        input);
}

// Runs a block of no channels and the given frames.
void runEmptyChannels(VibratoNode& node, unsigned int frames, unsigned int rate) {
    AudioBus inBus(0, frames, rate);
    AudioBus outBus(0, frames, 0);
    ASSERT_TRUE(node.process(inBus, outBus));
}

}  // namespace

TEST(VibratoNode, StartsWithItsDefaults) {
    VibratoNode node(2);
    EXPECT_TRUE(node.getIsEnabled());
    EXPECT_EQ(node.getSweepWidth(), 0.01f);
    EXPECT_EQ(node.getFrequency(), 4.0f);
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
    const Signal input = randomSignal(1, 64, 7);
    EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
}

TEST(VibratoNode, AcceptsOneOrTwoChannelsAndRefusesThree) {
    VibratoNode node(2);
    for (unsigned int channels : {0u, 1u, 2u}) {
        AudioBusFormat in{channels, 48000, 256};
        AudioBusFormat out{channels, 48000, 256};
        EXPECT_TRUE(node.setBusFormat(in, out)) << channels << " channels";
    }
    AudioBusFormat in{3, 48000, 256};
    AudioBusFormat out{3, 48000, 256};
    EXPECT_FALSE(node.setBusFormat(in, out));
    AudioBusFormat mismatchedIn{1, 48000, 256};
    AudioBusFormat mismatchedOut{1, 48000, 512};
    EXPECT_FALSE(node.setBusFormat(mismatchedIn, mismatchedOut));
}

TEST(VibratoNode, DisabledNodePassesInputThroughExactly) {
    VibratoNode node(2);
    node.setIsEnabled(false);
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        const Signal input = randomSignal(2, 4096, seed);
        EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
    }
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
    const Signal first = randomSignal(2, 3000, 21);
    const Signal second = randomSignal(2, 6000, 22);

    VibratoNode paused(2);
    runBlock(paused, first, 48000);
    paused.setIsEnabled(false);
    for (std::uint32_t seed = 30; seed < 35; ++seed) {
        const Signal bypassed = randomSignal(2, 1000, seed);
        EXPECT_TRUE(sameBits(runBlock(paused, bypassed, 48000), bypassed));
    }
    // A disabled node does not step its oscillator even for blocks without channels.
    runEmptyChannels(paused, 900, 48000);
    paused.setIsEnabled(true);
    const Signal resumed = runBlock(paused, second, 48000);

    VibratoNode uninterrupted(2);
    runBlock(uninterrupted, first, 48000);
    EXPECT_TRUE(sameBits(resumed, runBlock(uninterrupted, second, 48000)));
}

TEST(VibratoNode, SampleRateChangeClearsTheLinesButKeepsThePhase) {
    const Signal first = randomSignal(2, 5000, 61);
    const Signal second = randomSignal(2, 5000, 62);

    VibratoNode node(2);
    runBlock(node, first, 48000);
    const Signal after = runBlock(node, second, 44100);

    VibratoNode silent(2);
    runBlock(silent, Signal(2, std::vector<float>(5000, 0.0f)), 48000);
    EXPECT_TRUE(sameBits(after, runBlock(silent, second, 44100)));

    VibratoNode fresh(2);
    EXPECT_FALSE(sameBits(after, runBlock(fresh, second, 44100)));
}

TEST(VibratoNode, BlockThatDoesNotFitPassesThroughAndTouchesNothing) {
    const Signal first = randomSignal(1, 2000, 81);
    const Signal second = randomSignal(1, 3000, 82);

    VibratoNode node(1);
    runBlock(node, first, 48000);
    const Signal stereo = randomSignal(2, 500, 83);
    EXPECT_TRUE(sameBits(runBlock(node, stereo, 48000), stereo));
    const Signal after = runBlock(node, second, 48000);

    VibratoNode untouched(1);
    runBlock(untouched, first, 48000);
    EXPECT_TRUE(sameBits(after, runBlock(untouched, second, 48000)));
}

TEST(VibratoNode, ExtremeSettingsStayInsideTheLines) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> sweepWidths = {nan, inf, -inf, 1e30f, -1e30f, 3.4e38f, 1e-45f, 2.0f};
    const std::vector<float> frequencies = {nan, inf, -inf, 1e30f, -5.0f, 0.0f, 48000.0f};
    const std::vector<unsigned int> rates = {0, 1, 384000, 4294967295u};
    std::uint32_t seed = 300;
    for (unsigned int rate : rates) {
        for (float sweepWidth : sweepWidths) {
            for (float frequency : frequencies) {
                const std::vector<BlockSetting> schedule = {
                    {300, rate, 2, sweepWidth, frequency, true},
                    {100, rate, 0, sweepWidth, frequency, true},
                    {200, rate, 2, 0.01f, 4.0f, true},
                };
                const Signal input = randomSignal(2, 600, ++seed);
                VibratoNode node(2);
                ReferenceVibrato reference(2);
                EXPECT_TRUE(sameBits(renderNode(node, schedule, input),
                                     render(reference, schedule, input), true))
                    << "rate " << rate << " sweepWidth " << sweepWidth << " frequency "
                    << frequency;
            }
        }
    }
}

TEST(VibratoNode, SettersMayRunWhileAudioIsProcessed) {
    VibratoNode node(2);
    std::atomic<bool> done{false};
    std::thread control([&node, &done] {
        unsigned int step = 0;
        while (!done.load()) {
            node.setSweepWidth(step % 2 == 0 ? 0.002f : 0.008f);
            node.setFrequency(step % 3 == 0 ? 2.0f : 6.0f);
            node.setIsEnabled(step % 5 != 0);
            ++step;
        }
    });
    AudioBus inBus(2, 256, 48000);
    AudioBus outBus(2, 256, 0);
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 256; ++f) inBus.buffer.setSample(c, f, f % 3 ? 0.25f : -1.0f);
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

TEST(VibratoNode, NodeBuiltForMoreChannelsRunsThemAll) {
    // Three channels are refused by the bus format, but a node built for them runs them when
    // handed a block directly.
    const std::vector<BlockSetting> schedule = randomSchedule(
        17, 60000, 48000, 3, {1, 7, 64, 256, 4096}, {0.01f, 0.003f, 0.02f}, {4.0f, 0.9f, 9.0f});
    const Signal input = randomSignal(3, totalFrames(schedule), 18);
    VibratoNode node(3);
    ReferenceVibrato reference(3);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}

// Long random signals through the node and through the plain rendering above, with sweep
// width, frequency and the enable flag changed between blocks of mixed sizes.
class VibratoMatchesPlainRendering
    : public ::testing::TestWithParam<std::tuple<unsigned int, unsigned int>> {};

TEST_P(VibratoMatchesPlainRendering, BitForBit) {
    const auto [rate, channels] = GetParam();
    const std::vector<BlockSetting> schedule = randomSchedule(
        rate + channels + 2, 130000, rate, channels, {1, 7, 64, 256, 4096},
        {0.01f, 0.0f, 0.0007f, 0.02f, 0.3f, 1.7f, -0.004f}, {4.0f, 0.0f, 1.0f, 7.3f, 35.0f, -2.0f});
    const Signal input = randomSignal(channels, totalFrames(schedule), rate * 7 + channels);
    VibratoNode node(2);
    ReferenceVibrato reference(2);
    const Signal expected = render(reference, schedule, input);
    ASSERT_EQ(countNaN(expected), 0u);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), expected));
}

INSTANTIATE_TEST_SUITE_P(RatesAndChannels, VibratoMatchesPlainRendering,
                         ::testing::Combine(::testing::Values(44100u, 48000u, 96000u),
                                            ::testing::Values(1u, 2u)));

class VibratoMatchesPlainRenderingInBlocksOf : public ::testing::TestWithParam<unsigned int> {};

TEST_P(VibratoMatchesPlainRenderingInBlocksOf, BitForBit) {
    const unsigned int size = GetParam();
    const std::vector<BlockSetting> schedule = randomSchedule(
        size + 4, 100000, 48000, 2, {size}, {0.01f, 0.003f, 0.02f}, {4.0f, 0.9f, 9.0f});
    const Signal input = randomSignal(2, totalFrames(schedule), size + 13);
    VibratoNode node(2);
    ReferenceVibrato reference(2);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, VibratoMatchesPlainRenderingInBlocksOf,
                         ::testing::Values(1u, 7u, 64u, 256u, 4096u));

TEST(VibratoMatchesPlainRenderingAcrossFormatChanges, BitForBit) {
    // Rate and channel count change between blocks, with empty blocks and blocks without
    // channels among them.
    std::vector<BlockSetting> schedule;
    const unsigned int rates[] = {44100, 48000, 96000};
    const unsigned int sizes[] = {4096, 0, 256, 7, 4096, 64, 1, 4096};
    const unsigned int channelChoices[] = {2, 1, 2, 0, 1};
    std::size_t total = 0;
    for (int i = 0; i < 60; ++i) {
        const BlockSetting block{sizes[i % 8],
                                 rates[(i / 5) % 3],
                                 channelChoices[(i / 4) % 5],
                                 i % 7 == 0 ? 0.02f : 0.01f,
                                 i % 9 == 0 ? 7.0f : 4.0f,
                                 i % 11 != 10};
        schedule.push_back(block);
        total += block.frames;
    }
    const Signal input = randomSignal(2, total, 2468);
    VibratoNode node(2);
    ReferenceVibrato reference(2);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), render(reference, schedule, input)));
}
