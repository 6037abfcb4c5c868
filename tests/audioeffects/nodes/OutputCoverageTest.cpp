// Every node type of the extension's catalogue writes every sample of the output it is handed,
// whatever that output held before: two nodes of the type, one writing into outputs cleared to
// zero and one into outputs filled with NaN, give the same bits block by block, switched on and
// switched off, in blocks of several sizes.

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <memory>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

#include "audioeffects/EveryNodeType.h"

namespace {

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::SingleBusAudioProcessorNode;
using namespace ostrana::extensions::audioeffects;
using namespace ostrana::testing;

constexpr unsigned int kChannels = 2;
constexpr unsigned int kRate = 48000;
constexpr unsigned int kLargestBlock = 1000;

std::unique_ptr<SingleBusAudioProcessorNode> stereoNode(const NodeTypeEntry& entry) {
    std::unique_ptr<SingleBusAudioProcessorNode> node = createProcessor(entry);
    if (node == nullptr) return nullptr;
    AudioBusFormat inputFormat{kChannels, kRate, kLargestBlock};
    AudioBusFormat outputFormat{kChannels, kRate, kLargestBlock};
    EXPECT_TRUE(node->setBusFormat(inputFormat, outputFormat));
    return node;
}

void fill(AudioBus& bus, float value) {
    for (unsigned int c = 0; c < kChannels; ++c) {
        for (unsigned int f = 0; f < bus.buffer.getFrameCapacity(); ++f) {
            bus.buffer.getChannel(c)[f] = value;
        }
    }
}

class OutputCoverage : public ::testing::TestWithParam<NodeTypeEntry> {};

TEST_P(OutputCoverage, EveryOutputSampleIsWrittenWhateverTheOutputHeld) {
    const NodeTypeEntry& entry = GetParam();
    const std::unique_ptr<SingleBusAudioProcessorNode> onZeros = stereoNode(entry);
    const std::unique_ptr<SingleBusAudioProcessorNode> onNaN = stereoNode(entry);
    ASSERT_NE(onZeros, nullptr);
    ASSERT_NE(onNaN, nullptr);
    const NodeParameter* onOff = entry.onOffSwitch();
    AudioBus in(kChannels, kLargestBlock, kRate);
    AudioBus zeroOut(kChannels, kLargestBlock);
    AudioBus nanOut(kChannels, kLargestBlock);
    std::uint32_t state = 7;
    int block = 0;
    for (const unsigned int frames : {1u, 7u, 32u, 256u, 1000u, 32u, 1u, 1000u}) {
        for (int round = 0; round < 40; ++round, ++block) {
            if (onOff != nullptr && block % 25 == 20) {
                const bool enabled = block % 50 != 20;
                onOff->write(*onZeros, enabled);
                onOff->write(*onNaN, enabled);
            }
            for (unsigned int c = 0; c < kChannels; ++c) {
                for (unsigned int f = 0; f < frames; ++f) {
                    state = state * 1664525u + 1013904223u;
                    in.buffer.getChannel(c)[f] = static_cast<float>(state >> 8) * 0x1p-23f - 1.0f;
                }
            }
            ASSERT_TRUE(in.buffer.setNumberOfFrames(frames));
            fill(zeroOut, 0.0f);
            fill(nanOut, std::numeric_limits<float>::quiet_NaN());
            ASSERT_TRUE(onZeros->process(in, zeroOut));
            ASSERT_TRUE(onNaN->process(in, nanOut));
            ASSERT_EQ(nanOut.buffer.getNumberOfFrames(), frames);
            for (unsigned int c = 0; c < kChannels; ++c) {
                for (unsigned int f = 0; f < frames; ++f) {
                    ASSERT_EQ(std::bit_cast<std::uint32_t>(nanOut.buffer.getChannel(c)[f]),
                              std::bit_cast<std::uint32_t>(zeroOut.buffer.getChannel(c)[f]))
                        << "block " << block << " of " << frames << " frames, channel " << c
                        << ", frame " << f;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryNodeType, OutputCoverage, everyNodeType(), nodeTypeTestName);

}  // namespace
