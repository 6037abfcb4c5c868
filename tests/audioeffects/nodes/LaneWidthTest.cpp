// The swept delay line's line work runs four or eight frames of a channel at a time (eight with
// AVX2). Each width, and the nodes at their defaults over many oscillator cycles, must give
// exactly what the plain rendering gives.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <tuple>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
#include <ostrana/sdk/AudioBus.h>

#include "audioeffects/nodes/ModulationTestSupport.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptDelayRenderer.h"
#include "nodes/SweptNodeRules.h"

namespace {

using ostrana::AudioBus;
using ostrana::extensions::audioeffects::ChorusNode;
using ostrana::extensions::audioeffects::FlangerNode;
using ostrana::extensions::audioeffects::kChorusRecipe;
using ostrana::extensions::audioeffects::kFlangerRecipe;
using ostrana::extensions::audioeffects::kVibratoRecipe;
using ostrana::extensions::audioeffects::SweepRecipe;
using ostrana::extensions::audioeffects::SweptDelayRenderer;
using ostrana::extensions::audioeffects::SweptNodeRules;
using ostrana::extensions::audioeffects::VibratoNode;
using namespace ostrana::modulationtest;

using Lanes = SweptDelayRenderer::Lanes;

// The three effects as the plain rendering takes them, written out here.
const ReferenceEffect kChorus{1002.0f, 0.025f, 0.2f, true, false, false, true, 0.8f, 0.0f};
const ReferenceEffect kFlanger{2.0f, 0.005f, 0.4f, true, false, true, true, 0.8f, 0.6f};
const ReferenceEffect kVibrato{1.0f, 0.01f, 4.0f, false, true, false, false, 0.0f, 0.0f};

constexpr unsigned int kRate = 48000;

// The line work of one effect driven directly, in the lanes given, with its own lines and
// oscillators and the block steps of the nodes around it.
template <SweepRecipe kEffect>
class LineProcessor {
  public:
    explicit LineProcessor(Lanes lanes) : lanes_(lanes), lines_(SweptNodeRules::makeLines(2)) {
        const unsigned int oscillators = kEffect.oscillatorPerChannel ? 2 : 1;
        for (unsigned int i = 0; i < oscillators; ++i) {
            oscillators_.push_back(SweptNodeRules::makeOscillator(
                kEffect.defaultFrequency, SweptNodeRules::phaseOffsetOf(i)));
        }
    }

    void apply(const BlockSetting& block) {
        sweepWidth_.store(block.sweepWidth);
        for (ostrana::audio::LFO& oscillator : oscillators_)
            oscillator.setFrequency(block.frequency);
        enabled_ = block.enabled;
    }

    void process(AudioBus& inBus, AudioBus& outBus) {
        outBus.copyFrom(inBus);
        if (!enabled_) return;
        const unsigned int channels = inBus.buffer.getNumberOfChannels();
        SweptNodeRules::followFormat(inBus.buffer.getSampleRate(), channels, lastRate_,
                                     lastChannels_, lines_);
        ASSERT_GT(inBus.buffer.getNumberOfFrames(), 0u);
        ASSERT_GT(channels, 0u);
        SweptDelayRenderer::render<kEffect>(inBus.buffer, outBus.buffer, oscillators_.data(),
                                            lines_.data(), sweepWidth_, kEffect.wetGain,
                                            kEffect.feedback, lanes_);
    }

  private:
    Lanes lanes_;
    std::vector<ostrana::audio::CircularBuffer> lines_;
    std::vector<ostrana::audio::LFO> oscillators_;
    std::atomic<float> sweepWidth_{kEffect.defaultSweepWidth};
    unsigned int lastRate_ = 0;
    unsigned int lastChannels_ = 0;
    bool enabled_ = true;
};

// Six seconds of noise in blocks of mixed sizes, the sweep width and frequency changed now and
// then, among them values that take the line work off its fast steps (no sweep, sweeps beyond
// the line, negative sweeps, oscillators faster than a sample), through the line work in the
// given lanes and through the plain rendering.
template <SweepRecipe kEffect>
void expectLanesMatchPlainRendering(const ReferenceEffect& effect, Lanes lanes,
                                    unsigned int channels, std::uint32_t seed) {
    if (lanes == Lanes::kEight && SweptDelayRenderer::widestLanes() != Lanes::kEight) {
        GTEST_SKIP() << "this processor has no AVX2";
    }
    const std::vector<BlockSetting> schedule =
        randomSchedule(seed, 6 * kRate, kRate, channels, {1, 5, 8, 13, 32, 64, 256, 512, 4096},
                       {effect.sweepWidth, effect.sweepWidth, 0.0f, 0.0004f, 0.2f, 1.5f, -0.01f},
                       {effect.frequency, effect.frequency, 0.0f, 9.0f, 60000.0f, -1.0f});
    const Signal input = randomSignal(channels, totalFrames(schedule), seed + 1);
    LineProcessor<kEffect> processor(lanes);
    ReferenceModulation reference(effect, 2);
    const Signal expected = render(reference, schedule, input);
    ASSERT_EQ(countNaN(expected), 0u);
    EXPECT_TRUE(sameBits(render(processor, schedule, input), expected));
}

class LaneWidth : public ::testing::TestWithParam<std::tuple<Lanes, unsigned int>> {};

TEST_P(LaneWidth, ChorusMatchesThePlainRendering) {
    const auto [lanes, channels] = GetParam();
    expectLanesMatchPlainRendering<kChorusRecipe>(kChorus, lanes, channels, 11 + channels);
}

TEST_P(LaneWidth, FlangerMatchesThePlainRendering) {
    const auto [lanes, channels] = GetParam();
    expectLanesMatchPlainRendering<kFlangerRecipe>(kFlanger, lanes, channels, 23 + channels);
}

TEST_P(LaneWidth, VibratoMatchesThePlainRendering) {
    const auto [lanes, channels] = GetParam();
    expectLanesMatchPlainRendering<kVibratoRecipe>(kVibrato, lanes, channels, 37 + channels);
}

std::string laneWidthName(const ::testing::TestParamInfo<std::tuple<Lanes, unsigned int>>& info) {
    const auto [lanes, channels] = info.param;
    return std::string(lanes == Lanes::kEight ? "EightLanes" : "FourLanes") +
           (channels == 1 ? "Mono" : "Stereo");
}

INSTANTIATE_TEST_SUITE_P(FourAndEight, LaneWidth,
                         ::testing::Combine(::testing::Values(Lanes::kFour, Lanes::kEight),
                                            ::testing::Values(1u, 2u)),
                         laneWidthName);

// A node at its defaults over twenty seconds of stereo noise in 512-frame blocks: several
// cycles of every oscillator, in whatever lanes this processor runs.
template <typename Node>
void expectDefaultsMatchPlainRenderingForLong(const ReferenceEffect& effect) {
    const std::vector<BlockSetting> schedule =
        randomSchedule(5, 20 * kRate, kRate, 2, {512}, {effect.sweepWidth}, {effect.frequency});
    const Signal input = randomSignal(2, totalFrames(schedule), 6);
    Node node(2);
    ReferenceModulation reference(effect, 2);
    const Signal expected = render(reference, schedule, input);
    ASSERT_EQ(countNaN(expected), 0u);
    EXPECT_TRUE(sameBits(renderNode(node, schedule, input), expected));
}

TEST(LongDefaults, ChorusMatchesThePlainRendering) {
    expectDefaultsMatchPlainRenderingForLong<ChorusNode>(kChorus);
}

TEST(LongDefaults, FlangerMatchesThePlainRendering) {
    expectDefaultsMatchPlainRenderingForLong<FlangerNode>(kFlanger);
}

TEST(LongDefaults, VibratoMatchesThePlainRendering) {
    expectDefaultsMatchPlainRenderingForLong<VibratoNode>(kVibrato);
}

}  // namespace
