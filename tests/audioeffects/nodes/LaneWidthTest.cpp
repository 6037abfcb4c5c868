// The chorus, flanger and vibrato run their delay lines four, eight or sixteen frames of a
// channel at a time (eight with AVX2, sixteen with AVX-512F), and their oscillators on the
// vector sine or on sinf. Each width with each sine, and the nodes at their defaults over many
// oscillator cycles, must give exactly what the plain rendering gives.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include <ostrana/audio/LaneChoice.h>
#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/VibratoNode.h>

#include "audioeffects/audio/LaneLimit.h"
#include "audioeffects/audio/SineSwitch.h"
#include "audioeffects/nodes/ModulationTestSupport.h"

namespace {

using ostrana::audio::LaneChoice;
using ostrana::audiotest::LaneLimit;
using ostrana::audiotest::SineSwitch;
using ostrana::extensions::audioeffects::ChorusNode;
using ostrana::extensions::audioeffects::FlangerNode;
using ostrana::extensions::audioeffects::VibratoNode;
using namespace ostrana::modulationtest;

// The three effects as the plain rendering takes them, written out here.
const ReferenceEffect kChorus{1002.0f, 0.025f, 0.2f, true, false, false, true, 0.8f, 0.0f};
const ReferenceEffect kFlanger{2.0f, 0.005f, 0.4f, true, false, true, true, 0.8f, 0.6f};
const ReferenceEffect kVibrato{1.0f, 0.01f, 4.0f, false, true, false, false, 0.0f, 0.0f};

constexpr unsigned int kRate = 48000;

// Six seconds of noise in blocks of mixed sizes, the sweep width and frequency changed now and
// then, among them values that take the line work off its fast steps (no sweep, sweeps beyond
// the line, negative sweeps, oscillators faster than a sample), through a node built for two
// channels with the lanes limited, and through the plain rendering.
template <typename Node>
void expectLanesMatchPlainRendering(const ReferenceEffect& effect, bool vectorSine,
                                    unsigned int lanes, unsigned int channels, std::uint32_t seed) {
    if (lanes > LaneChoice::widestOnThisProcessor()) {
        GTEST_SKIP() << "this processor has no " << lanes << " lanes";
    }
    const SineSwitch sine(vectorSine);
    const LaneLimit limit(lanes);
    const std::vector<BlockSetting> schedule =
        randomSchedule(seed, 6 * kRate, kRate, channels, {1, 5, 8, 13, 32, 64, 256, 512, 4096},
                       {effect.sweepWidth, effect.sweepWidth, 0.0f, 0.0004f, 0.2f, 1.5f, -0.01f},
                       {effect.frequency, effect.frequency, 0.0f, 9.0f, 60000.0f, -1.0f});
    expectNodeMatchesPlainRendering<Node>(effect, schedule,
                                          randomSignal(channels, totalFrames(schedule), seed + 1));
}

using SineLanesChannels = std::tuple<bool, unsigned int, unsigned int>;

class LaneWidth : public ::testing::TestWithParam<SineLanesChannels> {};

TEST_P(LaneWidth, ChorusMatchesThePlainRendering) {
    const auto [vectorSine, lanes, channels] = GetParam();
    expectLanesMatchPlainRendering<ChorusNode>(kChorus, vectorSine, lanes, channels, 11 + channels);
}

TEST_P(LaneWidth, FlangerMatchesThePlainRendering) {
    const auto [vectorSine, lanes, channels] = GetParam();
    expectLanesMatchPlainRendering<FlangerNode>(kFlanger, vectorSine, lanes, channels,
                                                23 + channels);
}

TEST_P(LaneWidth, VibratoMatchesThePlainRendering) {
    const auto [vectorSine, lanes, channels] = GetParam();
    expectLanesMatchPlainRendering<VibratoNode>(kVibrato, vectorSine, lanes, channels,
                                                37 + channels);
}

std::string laneWidthName(const ::testing::TestParamInfo<SineLanesChannels>& info) {
    const auto [vectorSine, lanes, channels] = info.param;
    return std::string(vectorSine ? "VectorSine" : "Sinf") + std::to_string(lanes) + "Lanes" +
           (channels == 1 ? "Mono" : "Stereo");
}

INSTANTIATE_TEST_SUITE_P(EveryWidthAndSine, LaneWidth,
                         ::testing::Combine(::testing::Bool(), ::testing::Values(4u, 8u, 16u),
                                            ::testing::Values(1u, 2u)),
                         laneWidthName);

// A node at its defaults over twenty seconds of stereo noise in 512-frame blocks: several
// cycles of every oscillator, in whatever lanes this processor runs.
template <typename Node>
void expectDefaultsMatchPlainRenderingForLong(const ReferenceEffect& effect) {
    const std::vector<BlockSetting> schedule =
        randomSchedule(5, 20 * kRate, kRate, 2, {512}, {effect.sweepWidth}, {effect.frequency});
    expectNodeMatchesPlainRendering<Node>(effect, schedule,
                                          randomSignal(2, totalFrames(schedule), 6));
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
