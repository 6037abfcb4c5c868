#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>

#include "nodes/EffectNode.h"
#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {
namespace {

// The smallest effect a definition can be: a gain, with a state that counts its resets.
struct Gain {
    static constexpr EffectNames kNames{"gain", "Gain", "Gain", "Multiplies the input."};
    struct Values {
        std::atomic<bool> isEnabled;
        std::atomic<float> gain;
    };
    static constexpr ParameterSlot<Values> kSlots[] = {
        {ParameterDefinition::onOffSwitch("enabled").startingAt(true), &Values::isEnabled},
        {ParameterDefinition::realNumber("gain").from(0.0f).to(4.0f).startingAt(2.0f),
         &Values::gain},
    };
    struct State {
        explicit State(unsigned int channelCapacity) : capacity(channelCapacity) {}
        void reset(unsigned int sampleRate, unsigned int channels) {
            resets.push_back({sampleRate, channels});
        }
        unsigned int capacity;
        std::vector<std::pair<unsigned int, unsigned int>> resets;
    };
    static void render(State&, const Values& values, const AudioBuffer<float>& input,
                       AudioBuffer<float>& output) {
        const float gain = values.gain.load(std::memory_order_relaxed);
        for (unsigned int c = 0; c < input.getNumberOfChannels(); ++c) {
            for (unsigned int f = 0; f < input.getNumberOfFrames(); ++f) {
                output.getChannel(c)[f] = input.getChannel(c)[f] * gain;
            }
        }
    }
};

using GainNode = EffectNode<Gain>;
constexpr const auto& kParameters = kCatalogueParameters<GainNode, Gain::Values, Gain::kSlots>;

// A block of frames frames of 0.25, 0.5, ... on each channel.
AudioBus rampBus(unsigned int channels, unsigned int frames, unsigned int sampleRate) {
    AudioBus bus(channels, frames, sampleRate);
    for (unsigned int c = 0; c < channels; ++c) {
        for (unsigned int f = 0; f < frames; ++f) {
            bus.buffer.getChannel(c)[f] = 0.25f * static_cast<float>(f + 1 + c);
        }
    }
    return bus;
}

bool negotiate(GainNode& node, unsigned int channels, unsigned int sampleRate) {
    AudioBusFormat input{channels, sampleRate, 0};
    AudioBusFormat output{channels, sampleRate, 0};
    return node.setBusFormat(input, output);
}

TEST(EffectNode, StartsFromTheDefaultsOfItsTable) {
    GainNode node(2);
    Node& asNode = node;
    EXPECT_EQ(kParameters[0].read(asNode), ParameterValue(true));
    EXPECT_EQ(kParameters[1].read(asNode), ParameterValue(2.0f));
}

TEST(EffectNode, CatalogueWritesReachTheKernel) {
    GainNode node(2);
    ASSERT_TRUE(negotiate(node, 2, 48000));
    kParameters[1].write(node, ParameterValue(0.5f));
    EXPECT_EQ(kParameters[1].read(node), ParameterValue(0.5f));
    AudioBus in = rampBus(2, 8, 48000);
    AudioBus out(2, 8);
    ASSERT_TRUE(node.process(in, out));
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 8; ++f) {
            EXPECT_EQ(out.buffer.getChannel(c)[f], in.buffer.getChannel(c)[f] * 0.5f);
        }
    }
}

TEST(EffectNode, RefusesValuesOfAnotherKindAndNodesOfAnotherType) {
    GainNode node(2);
    EXPECT_THROW(kParameters[1].write(node, ParameterValue(1u)), std::invalid_argument);
    EXPECT_EQ(kParameters[1].read(node), ParameterValue(2.0f));
    DelayNode delay(1);
    EXPECT_THROW(kParameters[1].read(delay), std::invalid_argument);
    EXPECT_THROW(kParameters[1].write(delay, ParameterValue(1.0f)), std::invalid_argument);
}

TEST(EffectNode, OffPassesTheInputThroughUnchanged) {
    GainNode node(2);
    ASSERT_TRUE(negotiate(node, 2, 48000));
    kParameters[0].write(node, ParameterValue(false));
    AudioBus in = rampBus(2, 16, 48000);
    AudioBus out(2, 16);
    ASSERT_TRUE(node.process(in, out));
    for (unsigned int c = 0; c < 2; ++c) {
        for (unsigned int f = 0; f < 16; ++f) {
            EXPECT_EQ(out.buffer.getChannel(c)[f], in.buffer.getChannel(c)[f]);
        }
    }
}

TEST(EffectNode, TakesFormatsUpToItsCapacity) {
    GainNode node(2);
    EXPECT_TRUE(negotiate(node, 1, 44100));
    EXPECT_TRUE(negotiate(node, 2, 44100));
    EXPECT_FALSE(negotiate(node, 3, 44100));
    AudioBusFormat input{2, 44100, 0};
    AudioBusFormat output{2, 48000, 0};
    EXPECT_FALSE(node.setBusFormat(input, output));
}

TEST(EffectNode, ResetsTheStateOnANewRateOrChannelCountOnly) {
    GainNode node(2);
    ASSERT_TRUE(negotiate(node, 2, 48000));
    AudioBus out(2, 8);
    AudioBus stereo = rampBus(2, 8, 48000);
    ASSERT_TRUE(node.process(stereo, out));
    ASSERT_TRUE(node.process(stereo, out));
    AudioBus faster = rampBus(2, 8, 96000);
    ASSERT_TRUE(negotiate(node, 2, 96000));
    ASSERT_TRUE(node.process(faster, out));
    ASSERT_TRUE(negotiate(node, 1, 96000));
    AudioBus mono = rampBus(1, 8, 96000);
    AudioBus monoOut(1, 8);
    ASSERT_TRUE(node.process(mono, monoOut));
    const std::vector<std::pair<unsigned int, unsigned int>> expected{
        {48000, 2}, {96000, 2}, {96000, 1}};
    EXPECT_EQ(NodeInternals::of(node).state.resets, expected);
}

}  // namespace
}  // namespace ostrana::extensions::audioeffects
