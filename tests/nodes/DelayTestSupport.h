#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "host/AudioBus.h"

// Helpers shared by the delay and ping-pong delay tests: planar signals, running a signal
// through a node block by block, and exact comparisons.
namespace ostrana::delaytest {

// Samples by [channel][frame].
using Signal = std::vector<std::vector<float>>;

inline Signal silence(unsigned int channels, unsigned int frames) {
    return Signal(channels, std::vector<float>(frames, 0.0f));
}

inline Signal noise(unsigned int channels, unsigned int frames, unsigned int seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    Signal signal = silence(channels, frames);
    for (auto& channel : signal) {
        for (float& value : channel) value = sample(generator);
    }
    return signal;
}

inline unsigned int frameCount(const Signal& signal) {
    return signal.empty() ? 0 : static_cast<unsigned int>(signal[0].size());
}

// Runs the signal through the node in blocks of at most blockSize frames, reusing one pair of
// buses, and returns what the node put out.
template <typename Node>
Signal processInBlocks(Node& node, const Signal& input, unsigned int sampleRate,
                       unsigned int blockSize) {
    const auto channels = static_cast<unsigned int>(input.size());
    const unsigned int frames = frameCount(input);
    ostrana::AudioBus in(channels, blockSize, sampleRate);
    ostrana::AudioBus out(channels, blockSize);
    Signal output = silence(channels, frames);
    // An empty signal is still one (empty) block.
    unsigned int start = 0;
    do {
        const unsigned int length = std::min(blockSize, frames - start);
        in.buffer.setNumberOfFrames(length);
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < length; ++f)
                in.buffer.setSample(c, f, input[c][start + f]);
        }
        EXPECT_TRUE(node.process(in, out));
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < length; ++f)
                output[c][start + f] = out.buffer.getSample(c, f);
        }
        start += length;
    } while (start < frames);
    return output;
}

template <typename Node>
Signal processWhole(Node& node, const Signal& input, unsigned int sampleRate) {
    return processInBlocks(node, input, sampleRate, std::max(frameCount(input), 1u));
}

inline std::uint32_t bitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

// Bit-for-bit equality of two signals, NaN payloads and signed zeros included.
inline void expectSameBits(const Signal& actual, const Signal& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t c = 0; c < actual.size(); ++c) {
        ASSERT_EQ(actual[c].size(), expected[c].size());
        for (std::size_t f = 0; f < actual[c].size(); ++f) {
            ASSERT_EQ(bitsOf(actual[c][f]), bitsOf(expected[c][f]))
                << "channel " << c << ", frame " << f << ": " << actual[c][f] << " vs "
                << expected[c][f];
        }
    }
}

// The channel holds exactly the given values at the given frames and zero everywhere else.
inline void expectEchoes(const std::vector<float>& channel,
                         const std::map<unsigned int, float>& echoes) {
    for (unsigned int f = 0; f < channel.size(); ++f) {
        const auto echo = echoes.find(f);
        const float expected = echo == echoes.end() ? 0.0f : echo->second;
        ASSERT_EQ(channel[f], expected) << "frame " << f;
    }
}

inline Signal impulse(unsigned int channels, unsigned int frames, unsigned int channel) {
    Signal signal = silence(channels, frames);
    signal[channel][0] = 1.0f;
    return signal;
}

// The five parameters that both delay nodes have, as set before one block.
struct Parameters {
    bool isEnabled = true;
    unsigned int delayMs = 200;
    float dryMix = 0.7f;
    float wetMix = 0.3f;
    float feedbackLevel = 0.2f;
};

template <typename Node>
void apply(Node& node, const Parameters& parameters) {
    node.setIsEnabled(parameters.isEnabled);
    node.setDelayMs(parameters.delayMs);
    node.setDryMix(parameters.dryMix);
    node.setWetMix(parameters.wetMix);
    node.setFeedbackLevel(parameters.feedbackLevel);
}

}  // namespace ostrana::delaytest
