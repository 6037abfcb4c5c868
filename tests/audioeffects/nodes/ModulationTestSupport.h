#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>

#include "audioeffects/EveryNodeType.h"
#include "audioeffects/audio/LaneLimit.h"
#include "audioeffects/audio/SineSwitch.h"
#include "audioeffects/nodes/NodeTestSupport.h"

// Helpers shared by the chorus, flanger and vibrato tests: planar signals, block schedules with
// parameter changes between blocks, running a schedule through a node or a plain rendering,
// bit-for-bit comparison, the plain rendering of the three effects (a sine oscillator, ring
// interpolation and the swept delay line written out directly, sharing no code with the
// library), and the checks that the three effects' tests make alike.
namespace ostrana::modulationtest {

using nodetest::accepts;

// Planar samples: signal[channel][frame].
using Signal = std::vector<std::vector<float>>;

// One block of a schedule and the parameters set just before it.
struct BlockSetting {
    unsigned int frames;
    unsigned int sampleRate;
    unsigned int channels;
    float sweepWidth;
    float frequency;
    bool enabled;
};

inline Signal randomSignal(unsigned int channels, std::size_t frames, std::uint32_t seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> amplitude(-1.0f, 1.0f);
    Signal signal(channels, std::vector<float>(frames));
    for (auto& channel : signal) {
        for (float& sample : channel) sample = amplitude(generator);
    }
    return signal;
}

inline Signal constantSignal(unsigned int channels, std::size_t frames, float value) {
    return Signal(channels, std::vector<float>(frames, value));
}

// A unit impulse at frame 0 of every channel, silence after.
inline Signal impulse(unsigned int channels, std::size_t frames) {
    Signal signal(channels, std::vector<float>(frames, 0.0f));
    for (auto& channel : signal) channel[0] = 1.0f;
    return signal;
}

// Blocks of randomly chosen sizes from sizes, covering totalFrames, with the sweep width,
// frequency and enable flag changed now and then from the given choices.
inline std::vector<BlockSetting> randomSchedule(std::uint32_t seed, std::size_t totalFrames,
                                                unsigned int sampleRate, unsigned int channels,
                                                const std::vector<unsigned int>& sizes,
                                                const std::vector<float>& sweepWidths,
                                                const std::vector<float>& frequencies) {
    std::mt19937 generator(seed);
    auto pick = [&generator](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(generator);
    };
    std::vector<BlockSetting> schedule;
    BlockSetting current{0, sampleRate, channels, sweepWidths[0], frequencies[0], true};
    std::size_t done = 0;
    while (done < totalFrames) {
        current.frames = sizes[pick(sizes.size())];
        if (pick(6) == 0) current.sweepWidth = sweepWidths[pick(sweepWidths.size())];
        if (pick(6) == 0) current.frequency = frequencies[pick(frequencies.size())];
        if (pick(10) == 0) current.enabled = !current.enabled;
        schedule.push_back(current);
        done += current.frames;
    }
    return schedule;
}

inline std::size_t totalFrames(const std::vector<BlockSetting>& schedule) {
    std::size_t total = 0;
    for (const BlockSetting& block : schedule) total += block.frames;
    return total;
}

// Runs the schedule through a processor with apply(const BlockSetting&) and
// process(AudioBus& in, AudioBus& out). The input holds at least the schedule's frames on every
// channel any block uses; the result has the same shape, each block's output in place.
template <typename Processor>
Signal render(Processor& processor, const std::vector<BlockSetting>& schedule,
              const Signal& input) {
    Signal output(input.size(), std::vector<float>(input.empty() ? 0 : input[0].size(), 0.0f));
    std::size_t start = 0;
    for (const BlockSetting& block : schedule) {
        AudioBus inBus(block.channels, block.frames, block.sampleRate);
        AudioBus outBus(block.channels, block.frames, 0);
        for (unsigned int c = 0; c < block.channels; ++c) {
            for (unsigned int f = 0; f < block.frames; ++f) {
                inBus.buffer.setSample(c, f, input[c][start + f]);
            }
        }
        processor.apply(block);
        processor.process(inBus, outBus);
        for (unsigned int c = 0; c < block.channels; ++c) {
            for (unsigned int f = 0; f < block.frames; ++f) {
                output[c][start + f] = outBus.buffer.getSample(c, f);
            }
        }
        start += block.frames;
    }
    return output;
}

// Adapts an effect node (setSweepWidth, setFrequency, setIsEnabled, process) to render().
template <typename Node>
struct NodeProcessor {
    Node& node;
    void apply(const BlockSetting& block) {
        node.setSweepWidth(block.sweepWidth);
        node.setFrequency(block.frequency);
        node.setIsEnabled(block.enabled);
    }
    void process(AudioBus& inBus, AudioBus& outBus) { ASSERT_TRUE(node.process(inBus, outBus)); }
};

template <typename Node>
Signal renderNode(Node& node, const std::vector<BlockSetting>& schedule, const Signal& input) {
    NodeProcessor<Node> processor{node};
    return render(processor, schedule, input);
}

inline std::uint32_t bitsOf(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Whether two signals hold the same bit patterns, sample for sample; NaNs match any NaN when
// nanMatchesNan is set. Reports the number of differences and the first one.
inline ::testing::AssertionResult sameBits(const Signal& actual, const Signal& expected,
                                           bool nanMatchesNan = false) {
    if (actual.size() != expected.size()) {
        return ::testing::AssertionFailure() << "channel counts differ";
    }
    std::size_t differences = 0;
    std::string first;
    for (std::size_t c = 0; c < actual.size(); ++c) {
        if (actual[c].size() != expected[c].size()) {
            return ::testing::AssertionFailure() << "frame counts differ on channel " << c;
        }
        for (std::size_t f = 0; f < actual[c].size(); ++f) {
            const float a = actual[c][f];
            const float e = expected[c][f];
            if (bitsOf(a) == bitsOf(e)) continue;
            if (nanMatchesNan && std::isnan(a) && std::isnan(e)) continue;
            if (differences++ == 0) {
                first = "channel " + std::to_string(c) + " frame " + std::to_string(f) + ": " +
                        std::to_string(a) + " (bits " + std::to_string(bitsOf(a)) +
                        ") instead of " + std::to_string(e) + " (bits " +
                        std::to_string(bitsOf(e)) + ")";
            }
        }
    }
    if (differences == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << differences << " samples differ; first at " << first;
}

// The frames [from, to) of one channel.
inline std::vector<float> slice(const std::vector<float>& channel, std::size_t from,
                                std::size_t to) {
    return std::vector<float>(channel.begin() + static_cast<std::ptrdiff_t>(from),
                              channel.begin() + static_cast<std::ptrdiff_t>(to));
}

// The sine oscillator written out directly: sinf of the phase before the step, the phase
// advanced by frequency / rate in single precision and wrapped by one subtraction of 1.
struct PlainOscillator {
    float frequency = 0.0f;
    float amplitude = 0.5f;
    float offset = 0.5f;
    float phaseOffset = 0.0f;
    float phase = 0.0f;
    int cachedRate = 0;
    float duration = 0.0f;

    float step(int rate) {
        if (rate != cachedRate) {
            duration = static_cast<float>(1.0 / rate);
            cachedRate = rate;
        }
        const float p = phase;
        float next = frequency * duration + p;
        if (next >= 1.0f) next = next - 1.0f;
        phase = next;
        const double argument = p * 6.283185307179586 + phaseOffset;
        return sinf(static_cast<float>(argument)) * amplitude + offset;
    }
};

// Linear interpolation at an absolute position of a ring, both indices taken modulo its size;
// a position that is not a number reads as not-a-number. Positions come from fmodf, so they
// lie within one ring length of 0.
inline float plainInterpolate(const std::vector<float>& line, float position) {
    if (std::isnan(position)) return std::numeric_limits<float>::quiet_NaN();
    const int size = static_cast<int>(line.size());
    const float floored = floorf(position);
    const float frac = position - floored;
    const int i = static_cast<int>(floored);
    const float a = line[(size + i) % size];
    const float b = line[(size + i + 1) % size];
    return static_cast<float>(static_cast<double>(frac * b) + (1.0 - frac) * a);
}

inline std::size_t countNaN(const Signal& signal) {
    std::size_t count = 0;
    for (const auto& channel : signal) {
        for (float sample : channel) count += std::isnan(sample) ? 1 : 0;
    }
    return count;
}

// What sets one effect's plain rendering apart from the others'.
struct ReferenceEffect {
    float baseDelay;            // samples of delay that the sweep does not move
    float sweepWidth;           // starting sweep width in seconds
    float frequency;            // starting oscillator frequency in Hz
    bool oscillatorPerChannel;  // one oscillator per channel, phasePerChannel apart, stepped per
                                // sample; else one for all channels, stepped per frame
    bool writesBeforeReading;   // the input goes into the line before the read, else after it
    bool feedsBack;             // the line receives feedback * wet + x, else x
    bool keepsDry;              // the output is wet * wetGain + x, else wet alone
    float wetGain;
    float feedback;
    double phasePerChannel = 1.5707963267948966;  // radians between channels' oscillators
};

// Each effect as the plain rendering takes it, at its defaults.
inline constexpr ReferenceEffect kChorusEffect{.baseDelay = 1002.0f,
                                               .sweepWidth = 0.025f,
                                               .frequency = 0.2f,
                                               .oscillatorPerChannel = true,
                                               .writesBeforeReading = false,
                                               .feedsBack = false,
                                               .keepsDry = true,
                                               .wetGain = 0.8f,
                                               .feedback = 0.0f};
inline constexpr ReferenceEffect kFlangerEffect{.baseDelay = 2.0f,
                                                .sweepWidth = 0.005f,
                                                .frequency = 0.4f,
                                                .oscillatorPerChannel = true,
                                                .writesBeforeReading = false,
                                                .feedsBack = true,
                                                .keepsDry = true,
                                                .wetGain = 0.8f,
                                                .feedback = 0.6f};
inline constexpr ReferenceEffect kVibratoEffect{.baseDelay = 1.0f,
                                                .sweepWidth = 0.01f,
                                                .frequency = 4.0f,
                                                .oscillatorPerChannel = false,
                                                .writesBeforeReading = true,
                                                .feedsBack = false,
                                                .keepsDry = false,
                                                .wetGain = 0.0f,
                                                .feedback = 0.0f};

// The swept delay line of one effect written out plainly, step by step, sharing nothing with the
// node: its own rings, its own oscillators, and sinf and fmodf called directly. Driven by
// render() like a node.
class ReferenceModulation {
  public:
    ReferenceModulation(const ReferenceEffect& effect, unsigned int capacity)
        : effect_(effect),
          lines_(capacity, std::vector<float>(kSize, 0.0f)),
          writePointers_(capacity, 0),
          sweepWidth_(effect.sweepWidth) {
        const unsigned int oscillators = effect.oscillatorPerChannel ? capacity : 1;
        for (unsigned int i = 0; i < oscillators; ++i) {
            PlainOscillator oscillator;
            oscillator.frequency = effect.frequency;
            oscillator.phaseOffset = static_cast<float>(i * effect.phasePerChannel);
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
        if (frames == 0) return;
        if (channels == 0) {
            // Only an oscillator that all channels share runs through blocks without channels.
            if (!effect_.oscillatorPerChannel) {
                for (unsigned int f = 0; f < frames; ++f) {
                    oscillators_[0].step(static_cast<int>(rate));
                }
            }
            return;
        }
        const float rateF = static_cast<float>(rate);
        for (unsigned int f = 0; f < frames; ++f) {
            float d = 0.0f;
            if (!effect_.oscillatorPerChannel) d = swing(oscillators_[0], rate, rateF);
            for (unsigned int c = 0; c < channels; ++c) {
                if (effect_.oscillatorPerChannel) d = swing(oscillators_[c], rate, rateF);
                const float x = inBus.buffer.getSample(c, f);
                int& w = writePointers_[c];
                if (effect_.writesBeforeReading) lines_[c][w] = x;
                float p = ((static_cast<float>(w) - d) + (-effect_.baseDelay)) +
                          static_cast<float>(kSize);
                p = fmodf(p, static_cast<float>(kSize));
                const float wet = plainInterpolate(lines_[c], p);
                if (!effect_.writesBeforeReading) {
                    lines_[c][w] = effect_.feedsBack ? effect_.feedback * wet + x : x;
                }
                w = (w + 1 + kSize) % kSize;
                outBus.buffer.setSample(c, f, effect_.keepsDry ? wet * effect_.wetGain + x : wet);
            }
        }
    }

  private:
    static constexpr int kSize = 48000;

    // The swing of the delay in samples for the oscillator's next value.
    float swing(PlainOscillator& oscillator, unsigned int rate, float rateF) const {
        const float m = oscillator.step(static_cast<int>(rate));
        return (m * sweepWidth_) * rateF;
    }

    ReferenceEffect effect_;
    std::vector<std::vector<float>> lines_;
    std::vector<int> writePointers_;
    std::vector<PlainOscillator> oscillators_;
    unsigned int lastRate_ = 0;
    unsigned int lastChannels_ = 0;
    float sweepWidth_;
    bool enabled_ = true;
};

// Runs one block through the node, with its parameters as they stand, and returns its output.
template <typename Node>
Signal runBlock(Node& node, const Signal& input, unsigned int rate) {
    const unsigned int channels = static_cast<unsigned int>(input.size());
    const unsigned int frames = channels == 0 ? 0 : static_cast<unsigned int>(input[0].size());
    return renderNode(
        node,
        {{frames, rate, channels, node.getSweepWidth(), node.getFrequency(), node.getIsEnabled()}},
        input);
}

// Runs a block of no channels and the given frames.
template <typename Node>
void runEmptyChannels(Node& node, unsigned int frames, unsigned int rate) {
    AudioBus inBus(0, frames, rate);
    AudioBus outBus(0, frames, 0);
    ASSERT_TRUE(node.process(inBus, outBus));
}

// Silence of the signal's shape.
inline Signal silenceLike(const Signal& signal) {
    return Signal(signal.size(), std::vector<float>(signal.empty() ? 0 : signal[0].size(), 0.0f));
}

// Whether a fresh node and a fresh plain rendering of its effect, both built for capacity
// channels, give the same bits for the schedule.
template <typename Node>
::testing::AssertionResult nodeMatchesReference(const ReferenceEffect& effect,
                                                unsigned int capacity,
                                                const std::vector<BlockSetting>& schedule,
                                                const Signal& input, bool nanMatchesNan = false) {
    Node node(capacity);
    ReferenceModulation reference(effect, capacity);
    return sameBits(renderNode(node, schedule, input), render(reference, schedule, input),
                    nanMatchesNan);
}

// The checks that the three effects' tests make alike, each on fresh nodes of type Node.

template <typename Node>
void expectStartsWithDefaults(const ReferenceEffect& effect) {
    Node node(2);
    EXPECT_TRUE(node.getIsEnabled());
    EXPECT_EQ(node.getSweepWidth(), effect.sweepWidth);
    EXPECT_EQ(node.getFrequency(), effect.frequency);
}

// A block with a channel does not fit a node without lines: it passes through untouched.
template <typename Node>
void expectMonoBlockPassesThrough(Node& node) {
    const Signal input = randomSignal(1, 64, 7);
    EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
}

template <typename Node>
void expectAcceptsOneOrTwoChannelsAndRefusesThree(Node& node) {
    for (unsigned int channels : {0u, 1u, 2u}) {
        EXPECT_TRUE(accepts(node, {channels, 48000, 256}, {channels, 48000, 256}))
            << channels << " channels";
    }
    EXPECT_FALSE(accepts(node, {3, 48000, 256}, {3, 48000, 256}));
}

template <typename Node>
void expectDisabledNodePassesInputThroughExactly() {
    Node node(2);
    node.setIsEnabled(false);
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        const Signal input = randomSignal(2, 4096, seed);
        EXPECT_TRUE(sameBits(runBlock(node, input, 48000), input));
    }
}

// Bypassed blocks, and then emptyChannelFrames frames without channels when that is not 0, leave
// a node as a node that never saw them.
template <typename Node>
void expectDisabledBlocksLeaveTheNodeWhereItWas(unsigned int emptyChannelFrames) {
    const Signal first = randomSignal(2, 3000, 21);
    const Signal second = randomSignal(2, 6000, 22);

    Node paused(2);
    runBlock(paused, first, 48000);
    paused.setIsEnabled(false);
    for (std::uint32_t seed = 30; seed < 35; ++seed) {
        const Signal bypassed = randomSignal(2, 1000, seed);
        EXPECT_TRUE(sameBits(runBlock(paused, bypassed, 48000), bypassed));
    }
    if (emptyChannelFrames != 0) runEmptyChannels(paused, emptyChannelFrames, 48000);
    paused.setIsEnabled(true);
    const Signal resumed = runBlock(paused, second, 48000);

    Node uninterrupted(2);
    runBlock(uninterrupted, first, 48000);
    EXPECT_TRUE(sameBits(resumed, runBlock(uninterrupted, second, 48000)));
}

// first at 48 kHz, then second at secondRate, a change of rate or channel count: the lines are
// cleared (the first unchangedFrames frames of each channel pass through as they are) and the
// oscillators keep their phases.
template <typename Node>
void expectFormatChangeClearsTheLinesButKeepsThePhases(const Signal& first, const Signal& second,
                                                       unsigned int secondRate,
                                                       std::size_t unchangedFrames) {
    Node node(2);
    runBlock(node, first, 48000);
    const Signal after = runBlock(node, second, secondRate);
    if (unchangedFrames != 0) {
        for (std::size_t c = 0; c < second.size(); ++c) {
            EXPECT_EQ(slice(after[c], 0, unchangedFrames), slice(second[c], 0, unchangedFrames))
                << "channel " << c;
        }
    }

    // The oscillators' phases depend only on how many steps they took, not on the signal: a
    // node that ran silence for as long gives the same output after the change.
    Node silent(2);
    runBlock(silent, silenceLike(first), 48000);
    EXPECT_TRUE(sameBits(after, runBlock(silent, second, secondRate)));

    // A fresh node starts its oscillators at phase 0 and so differs.
    Node fresh(2);
    EXPECT_FALSE(sameBits(after, runBlock(fresh, second, secondRate)));
}

// Blocks that do not fit a node built for one channel (two channels; with withShortOutput also
// an output bus too small for the input's frames) pass through and leave the node untouched.
template <typename Node>
void expectBlocksThatDoNotFitTouchNothing(bool withShortOutput) {
    const Signal first = randomSignal(1, 2000, 81);
    const Signal second = randomSignal(1, 3000, 82);

    Node node(1);
    runBlock(node, first, 48000);
    const Signal stereo = randomSignal(2, 500, 83);
    EXPECT_TRUE(sameBits(runBlock(node, stereo, 48000), stereo));
    if (withShortOutput) {
        AudioBus inBus(1, 256, 48000);
        AudioBus outBus(1, 128, 0);
        for (unsigned int f = 0; f < 256; ++f) inBus.buffer.setSample(0, f, 0.25f);
        ASSERT_TRUE(node.process(inBus, outBus));
        for (unsigned int f = 0; f < 128; ++f) ASSERT_EQ(outBus.buffer.getSample(0, f), 0.25f);
    }
    const Signal after = runBlock(node, second, 48000);

    Node untouched(1);
    runBlock(untouched, first, 48000);
    EXPECT_TRUE(sameBits(after, runBlock(untouched, second, 48000)));
}

// Non-finite, huge and tiny sweep widths and frequencies at extreme rates, for one block (then
// emptyChannelFrames frames without channels when that is not 0, then a block at the defaults):
// the node gives what the plain rendering gives, NaN for NaN. Each case takes the next seed.
template <typename Node>
void expectExtremeSettingsMatchThePlainRendering(const ReferenceEffect& effect, std::uint32_t seed,
                                                 unsigned int emptyChannelFrames) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> sweepWidths = {nan, inf, -inf, 1e30f, -1e30f, 3.4e38f, 1e-45f, 2.0f};
    const std::vector<float> frequencies = {nan, inf, -inf, 1e30f, -5.0f, 0.0f, 48000.0f};
    const std::vector<unsigned int> rates = {0, 1, 384000, 4294967295u};
    for (unsigned int rate : rates) {
        for (float sweepWidth : sweepWidths) {
            for (float frequency : frequencies) {
                std::vector<BlockSetting> schedule = {{300, rate, 2, sweepWidth, frequency, true}};
                if (emptyChannelFrames != 0) {
                    schedule.push_back({emptyChannelFrames, rate, 0, sweepWidth, frequency, true});
                }
                schedule.push_back({200, rate, 2, effect.sweepWidth, effect.frequency, true});
                const Signal input = randomSignal(2, totalFrames(schedule), ++seed);
                EXPECT_TRUE(nodeMatchesReference<Node>(effect, 2, schedule, input, true))
                    << "rate " << rate << " sweepWidth " << sweepWidth << " frequency "
                    << frequency;
            }
        }
    }
}

// A control thread keeps changing the parameters (the sweep width between two values, the
// frequency between two, the effect on and off) while 400 stereo blocks of 256 frames, frame f
// holding sampleAt(f), run: every output sample stays finite.
template <typename Node>
void expectSettersMayRunWhileAudioIsProcessed(float evenSweepWidth, float oddSweepWidth,
                                              float everyThirdFrequency, float otherFrequency,
                                              float (*sampleAt)(unsigned int frame)) {
    Node node(2);
    std::atomic<bool> done{false};
    std::thread control([&] {
        unsigned int step = 0;
        while (!done.load()) {
            node.setSweepWidth(step % 2 == 0 ? evenSweepWidth : oddSweepWidth);
            node.setFrequency(step % 3 == 0 ? everyThirdFrequency : otherFrequency);
            node.setIsEnabled(step % 5 != 0);
            ++step;
        }
    });
    AudioBus inBus(2, 256, 48000);
    AudioBus outBus(2, 256, 0);
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 256; ++f) inBus.buffer.setSample(c, f, sampleAt(f));
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

// Three channels are refused by the bus format, but a node built for them runs them when handed
// a block directly.
template <typename Node>
void expectNodeBuiltForMoreChannelsRunsThemAll(const ReferenceEffect& effect,
                                               const std::vector<float>& sweepWidths,
                                               const std::vector<float>& frequencies) {
    const std::vector<BlockSetting> schedule =
        randomSchedule(17, 60000, 48000, 3, {1, 7, 64, 256, 4096}, sweepWidths, frequencies);
    const Signal input = randomSignal(3, totalFrames(schedule), 18);
    EXPECT_TRUE(nodeMatchesReference<Node>(effect, 3, schedule, input));
    // Blocks of three channels, which step the oscillators one at a time, among short blocks
    // of one and two, whose oscillator steps come from steps computed ahead.
    std::vector<BlockSetting> mixed =
        randomSchedule(19, 60000, 48000, 3, {1, 7, 32, 64, 256}, sweepWidths, frequencies);
    const unsigned int channelCycle[] = {2, 3, 2, 2, 1, 3};
    for (std::size_t i = 0; i < mixed.size(); ++i) mixed[i].channels = channelCycle[i % 6];
    const Signal mixedInput = randomSignal(3, totalFrames(mixed), 20);
    EXPECT_TRUE(nodeMatchesReference<Node>(effect, 3, mixed, mixedInput));
}

// The input through processor (render()'s kind) and through the plain rendering built for two
// channels, block by block as the schedule says: the same bits, and no NaN in the rendering.
template <typename Processor>
void expectProcessorMatchesPlainRendering(Processor& processor, const ReferenceEffect& effect,
                                          const std::vector<BlockSetting>& schedule,
                                          const Signal& input) {
    ReferenceModulation reference(effect, 2);
    const Signal expected = render(reference, schedule, input);
    ASSERT_EQ(countNaN(expected), 0u);
    EXPECT_TRUE(sameBits(render(processor, schedule, input), expected));
}

// The same through a fresh node of type Node built for two channels.
template <typename Node>
void expectNodeMatchesPlainRendering(const ReferenceEffect& effect,
                                     const std::vector<BlockSetting>& schedule,
                                     const Signal& input) {
    Node node(2);
    NodeProcessor<Node> processor{node};
    expectProcessorMatchesPlainRendering(processor, effect, schedule, input);
}

// A long random signal through processor and through the plain rendering, with sweep width,
// frequency and the enable flag changed between blocks of mixed sizes.
template <typename Processor>
void expectProcessorMatchesPlainRendering(Processor& processor, const ReferenceEffect& effect,
                                          unsigned int rate, unsigned int channels,
                                          std::uint32_t scheduleSeed, std::uint32_t inputSeed,
                                          const std::vector<float>& sweepWidths,
                                          const std::vector<float>& frequencies) {
    const std::vector<BlockSetting> schedule = randomSchedule(
        scheduleSeed, 130000, rate, channels, {1, 7, 64, 256, 4096}, sweepWidths, frequencies);
    expectProcessorMatchesPlainRendering(processor, effect, schedule,
                                         randomSignal(channels, totalFrames(schedule), inputSeed));
}

// The same through a node of type Node built for two channels.
template <typename Node>
void expectMatchesPlainRendering(const ReferenceEffect& effect, unsigned int rate,
                                 unsigned int channels, std::uint32_t scheduleSeed,
                                 std::uint32_t inputSeed, const std::vector<float>& sweepWidths,
                                 const std::vector<float>& frequencies) {
    Node node(2);
    NodeProcessor<Node> processor{node};
    expectProcessorMatchesPlainRendering(processor, effect, rate, channels, scheduleSeed, inputSeed,
                                         sweepWidths, frequencies);
}

// A swept effect as a host has it: made by the extension's factory from its catalogue entry,
// its settings written through the catalogue's parameters. Reaches an effect whose node class
// the library keeps to itself.
struct CatalogueNodeProcessor {
    const extensions::audioeffects::NodeTypeEntry& entry;
    SingleBusAudioProcessorNode& node;
    void write(const char* name, const extensions::audioeffects::ParameterValue& value) {
        const extensions::audioeffects::NodeParameter* parameter = entry.findParameter(name);
        ASSERT_NE(parameter, nullptr) << name;
        parameter->write(node, value);
    }
    void apply(const BlockSetting& block) {
        write("sweepWidth", block.sweepWidth);
        write("frequency", block.frequency);
        write("enabled", block.enabled);
    }
    void process(AudioBus& inBus, AudioBus& outBus) { ASSERT_TRUE(node.process(inBus, outBus)); }
};

// expectMatchesPlainRendering through the node the factory makes for the catalogue's entry of
// this short name, at 48 kHz in stereo.
inline void expectCatalogueNodeMatchesPlainRendering(std::string_view shortName,
                                                     const ReferenceEffect& effect,
                                                     std::uint32_t seed) {
    const auto* entry = extensions::audioeffects::EffectCatalogue::find(shortName);
    ASSERT_NE(entry, nullptr) << shortName;
    // On sinf and on the vector sine, and in every lane width of the line work (a width the
    // processor lacks runs as the next narrower one), a fresh node each time.
    for (const bool vectorSine : {true, false}) {
        for (const unsigned int lanes : {16u, 8u, 4u}) {
            SCOPED_TRACE(::testing::Message() << (vectorSine ? "vector sine" : "sinf")
                                              << ", at most " << lanes << " lanes");
            const audiotest::SineSwitch sine(vectorSine);
            const audiotest::LaneLimit limit(lanes);
            const std::unique_ptr<SingleBusAudioProcessorNode> node =
                testing::createProcessor(*entry);
            ASSERT_NE(node, nullptr);
            CatalogueNodeProcessor processor{*entry, *node};
            expectProcessorMatchesPlainRendering(
                processor, effect, 48000, 2, seed, seed + 1,
                {effect.sweepWidth, 0.0f, effect.sweepWidth * 0.5f},
                {effect.frequency, 0.3f, effect.frequency * 2.0f});
        }
    }
}

// The same in stereo blocks of one size at 48 kHz.
template <typename Node>
void expectMatchesPlainRenderingInBlocksOf(const ReferenceEffect& effect, unsigned int size,
                                           std::uint32_t scheduleSeed, std::uint32_t inputSeed,
                                           const std::vector<float>& sweepWidths,
                                           const std::vector<float>& frequencies) {
    const std::vector<BlockSetting> schedule =
        randomSchedule(scheduleSeed, 100000, 48000, 2, {size}, sweepWidths, frequencies);
    const Signal input = randomSignal(2, totalFrames(schedule), inputSeed);
    EXPECT_TRUE(nodeMatchesReference<Node>(effect, 2, schedule, input));
}

// Rate and channel count change between blocks, with empty blocks and blocks without channels
// among them; now and then the sweep width or the frequency leaves its default for the other
// value given.
template <typename Node>
void expectMatchesPlainRenderingAcrossFormatChanges(const ReferenceEffect& effect,
                                                    float otherSweepWidth, float otherFrequency,
                                                    std::uint32_t inputSeed) {
    std::vector<BlockSetting> schedule;
    const unsigned int rates[] = {44100, 48000, 96000};
    const unsigned int sizes[] = {4096, 0, 256, 7, 4096, 64, 1, 4096};
    const unsigned int channelChoices[] = {2, 1, 2, 0, 1};
    std::size_t total = 0;
    for (int i = 0; i < 60; ++i) {
        const BlockSetting block{sizes[i % 8],
                                 rates[(i / 5) % 3],
                                 channelChoices[(i / 4) % 5],
                                 i % 7 == 0 ? otherSweepWidth : effect.sweepWidth,
                                 i % 9 == 0 ? otherFrequency : effect.frequency,
                                 i % 11 != 10};
        schedule.push_back(block);
        total += block.frames;
    }
    const Signal input = randomSignal(2, total, inputSeed);
    EXPECT_TRUE(nodeMatchesReference<Node>(effect, 2, schedule, input));
}

// The parameters of the suites that run at every rate and channel count, and in blocks of
// every size.
using RatesAndChannelsTest = ::testing::TestWithParam<std::tuple<unsigned int, unsigned int>>;
using BlockSizeTest = ::testing::TestWithParam<unsigned int>;

inline auto ratesAndChannels() {
    return ::testing::Combine(::testing::Values(44100u, 48000u, 96000u), ::testing::Values(1u, 2u));
}

inline auto blockSizes() {
    return ::testing::Values(1u, 7u, 64u, 256u, 4096u);
}

}  // namespace ostrana::modulationtest
