#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "host/AudioBus.h"

// Helpers shared by the chorus, flanger and vibrato tests: planar signals, block schedules with
// parameter changes between blocks, running a schedule through a node or a plain rendering,
// bit-for-bit comparison, and the two pieces the plain renderings are built from (a sine
// oscillator and ring interpolation written out directly, sharing no code with the library).
namespace ostrana::modulationtest {

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

}  // namespace ostrana::modulationtest
