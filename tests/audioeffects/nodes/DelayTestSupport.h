#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>

#include "audioeffects/nodes/NodeTestSupport.h"

// Helpers shared by the delay and ping-pong delay tests: planar signals, running a signal
// through a node block by block, exact comparisons, and the checks that the two nodes' tests
// make alike.
namespace ostrana::delaytest {

using nodetest::accepts;

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

template <typename Node>
void expectDefaultParameters(Node& node) {
    EXPECT_TRUE(node.getIsEnabled());
    EXPECT_EQ(node.getDelayMs(), 200u);
    EXPECT_EQ(node.getDryMix(), 0.7f);
    EXPECT_EQ(node.getWetMix(), 0.3f);
    EXPECT_EQ(node.getFeedbackLevel(), 0.2f);
}

// node and reference run start alike at 48 kHz; then between(node) does to node alone what the
// test does; then both run rest at 48 kHz in blocks of restBlockSize and must agree, which shows
// that between left node's lines as they were. Returns node's output of rest.
template <typename Node, typename Between>
Signal expectLinesLeftAsTheyWere(Node& node, Node& reference, const Signal& start,
                                 Between&& between, const Signal& rest,
                                 unsigned int restBlockSize) {
    expectSameBits(processWhole(node, start, 48000), processWhole(reference, start, 48000));
    between(node);
    const Signal output = processInBlocks(node, rest, 48000, restBlockSize);
    expectSameBits(output, processInBlocks(reference, rest, 48000, restBlockSize));
    return output;
}

// A rate and a block size to run a signal at.
struct Blocks {
    unsigned int sampleRate;
    unsigned int blockSize;
};

// Between bypass(node) and resume(node) the node passes odd through bit for bit at each of the
// given rates and block sizes, and leaves its lines as they were (expectLinesLeftAsTheyWere).
// Returns node's output of rest.
template <typename Node, typename Bypass, typename Resume>
Signal expectBypassPassesThroughAndFreezes(Node& node, Node& reference, const Signal& start,
                                           const Signal& odd, std::initializer_list<Blocks> passes,
                                           Bypass&& bypass, Resume&& resume, const Signal& rest,
                                           unsigned int restBlockSize) {
    return expectLinesLeftAsTheyWere(
        node, reference, start,
        [&](Node& bypassed) {
            bypass(bypassed);
            for (const Blocks& pass : passes) {
                expectSameBits(processInBlocks(bypassed, odd, pass.sampleRate, pass.blockSize),
                               odd);
            }
            resume(bypassed);
        },
        rest, restBlockSize);
}

// A block of inChannels channels whose channel holds value at frame 0, given an output of one
// channel fewer and then one of 100 frames: both are processed without harm, and the narrow
// output receives the input's channel as it is.
template <typename Node>
void expectNarrowAndShortOutputsPassThrough(Node& node, unsigned int inChannels,
                                            unsigned int frames, unsigned int channel,
                                            float value) {
    AudioBus in(inChannels, frames, 48000);
    in.buffer.setSample(channel, 0, value);
    AudioBus narrow(inChannels - 1, frames);
    EXPECT_TRUE(node.process(in, narrow));
    EXPECT_EQ(narrow.buffer.getSample(channel, 0), value);
    AudioBus shortOut(inChannels, 100);
    EXPECT_TRUE(node.process(in, shortOut));
}

// Stereo blocks of the given frames through the list-level setBusFormats and process, with a unit
// impulse at one frame of one channel: that channel gives the dry 0.7 there, the other 0.
template <typename Node>
void expectImpulseThroughTheListLevelCalls(Node& node, unsigned int frames, unsigned int channel,
                                           unsigned int frame) {
    AudioBusFormatList inputFormats{AudioBusFormat{2, 48000, frames}};
    AudioBusFormatList outputFormats{AudioBusFormat{2, 48000, frames}};
    ASSERT_TRUE(node.setBusFormats(inputFormats, outputFormats));

    AudioBus in(2, frames, 48000);
    AudioBus out(2, frames);
    in.buffer.setSample(channel, frame, 1.0f);
    AudioBusList inputs{&in};
    AudioBusList outputs{&out};
    EXPECT_TRUE(node.process(inputs, outputs));
    EXPECT_EQ(out.buffer.getSample(channel, frame), 0.7f);
    EXPECT_EQ(out.buffer.getSample(1 - channel, frame), 0.0f);
}

// The input through a node of a delay of a whole line (1000 ms at 48 kHz, in blocks of 4096),
// whose first channel must hold the impulse and its one echo; nodes set to each of the longer
// delays give the same. Returns the whole line's output.
template <typename MakeNode>
Signal expectDelaysBeyondTheLineLimitedToIt(MakeNode makeNode, const Signal& input,
                                            std::initializer_list<unsigned int> longerDelays) {
    auto oneSecond = makeNode();
    oneSecond.setDelayMs(1000);
    const Signal expected = processInBlocks(oneSecond, input, 48000, 4096);
    expectEchoes(expected[0], {{0, 0.7f}, {48000, 0.3f}});

    for (unsigned int delayMs : longerDelays) {
        auto node = makeNode();
        node.setDelayMs(delayMs);
        expectSameBits(processInBlocks(node, input, 48000, 4096), expected);
    }
    return expected;
}

// The input through a node in blocks of 4096, and through fresh nodes in blocks of 1, 7 and 64
// frames, all set to the parameters: every block size gives the same bits, and so does the
// step-by-step model.
template <typename MakeNode, typename Model>
void expectOutputIndependentOfTheBlockSize(MakeNode makeNode, Model& model, const Signal& input,
                                           unsigned int sampleRate, const Parameters& parameters) {
    auto whole = makeNode();
    apply(whole, parameters);
    const Signal expected = processInBlocks(whole, input, sampleRate, 4096);
    for (unsigned int blockSize : {1u, 7u, 64u}) {
        auto node = makeNode();
        apply(node, parameters);
        expectSameBits(processInBlocks(node, input, sampleRate, blockSize), expected);
    }
    expectSameBits(expected, model.process(input, sampleRate, parameters));
}

// The choices of a random walk through parameters and formats.
struct RandomBlockChoices {
    std::vector<unsigned int> sampleRates;
    std::vector<unsigned int> delays;
    std::vector<float> gains;
    std::vector<float> feedbacks;
};

// blocks random blocks through the node and the step-by-step model, each with parameters drawn
// from the choices (and now and then a new rate), channelsOf(generator) channels and 0 to 3000
// frames of noise seeded noiseSeed + block: the node gives the model's bits every time.
template <typename Node, typename Model, typename Channels>
void expectMatchesTheModelThroughRandomBlocks(Node& node, Model& model, std::uint32_t seed,
                                              unsigned int blocks,
                                              const RandomBlockChoices& choices,
                                              Channels&& channelsOf, unsigned int noiseSeed) {
    std::mt19937 generator(seed);
    auto pick = [&generator](const auto& options) {
        return options[std::uniform_int_distribution<std::size_t>(
            0, std::size(options) - 1)(generator)];
    };
    unsigned int sampleRate = 48000;
    for (unsigned int block = 0; block < blocks; ++block) {
        Parameters parameters;
        parameters.isEnabled = generator() % 8 != 0;
        parameters.delayMs = pick(choices.delays);
        parameters.dryMix = pick(choices.gains);
        parameters.wetMix = pick(choices.gains);
        parameters.feedbackLevel = pick(choices.feedbacks);
        if (generator() % 6 == 0) sampleRate = pick(choices.sampleRates);
        const unsigned int channels = channelsOf(generator);
        const unsigned int frames = std::uniform_int_distribution<unsigned int>(0, 3000)(generator);
        const Signal input = noise(channels, frames, noiseSeed + block);

        apply(node, parameters);
        const Signal actual = processWhole(node, input, sampleRate);
        const Signal expected = model.process(input, sampleRate, parameters);
        ASSERT_NO_FATAL_FAILURE(expectSameBits(actual, expected)) << "block " << block;
    }
}

// 200 stereo blocks of 256 ones at 48 kHz through a node that passes only its dry signal (wet
// mix and feedback 0, dry mix 0.5), while another thread keeps switching the dry mix between
// 0.25 and 0.5. Returns every block's output.
template <typename Node>
std::vector<Signal> outputsWhileTheDryMixChanges(Node& node) {
    node.setWetMix(0.0f);
    node.setFeedbackLevel(0.0f);
    node.setDryMix(0.5f);
    std::atomic<bool> stop{false};
    std::thread control([&node, &stop] {
        bool quarter = true;
        while (!stop.load()) {
            node.setDryMix(quarter ? 0.25f : 0.5f);
            quarter = !quarter;
        }
    });
    Signal ones = silence(2, 256);
    for (auto& channel : ones) std::fill(channel.begin(), channel.end(), 1.0f);
    std::vector<Signal> outputs;
    for (int block = 0; block < 200; ++block) outputs.push_back(processWhole(node, ones, 48000));
    stop.store(true);
    control.join();
    return outputs;
}

}  // namespace ostrana::delaytest
