// The chorus's, flanger's and vibrato's output level, mix, feedback and stereo phase, set through
// the catalogue as every front end sets them: at their defaults the effects sound as they always
// have; away from them they do what they say, checked against the plain rendering where it can
// follow and by measurement where it is about what a listener hears.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/VibratoNode.h>

#include "audioeffects/nodes/ModulationTestSupport.h"

using namespace ostrana::extensions::audioeffects;
using namespace ostrana::modulationtest;
using ostrana::AudioBus;

namespace {

constexpr double kPi = 3.141592653589793;

// One swept effect: its catalogue name, its plain rendering at the defaults, a fresh node.
struct SweptCase {
    std::string_view name;
    ReferenceEffect reference;
    std::function<std::unique_ptr<SweptEffectNode>()> make;
};

const SweptCase kChorusCase{"chorus", kChorusEffect,
                            [] { return std::make_unique<ChorusNode>(2); }};
const SweptCase kFlangerCase{"flanger", kFlangerEffect,
                             [] { return std::make_unique<FlangerNode>(2); }};
const SweptCase kVibratoCase{"vibrato", kVibratoEffect,
                             [] { return std::make_unique<VibratoNode>(2); }};

// Writes a parameter as a front end does, through the effect's catalogue entry.
void set(SweptEffectNode& node, std::string_view effect, std::string_view parameter,
         const ParameterValue& value) {
    const NodeParameter* found = EffectCatalogue::find(effect)->findParameter(parameter);
    ASSERT_NE(found, nullptr) << effect << " has no " << parameter;
    found->write(node, value);
}

// Blocks of uneven sizes (some longer than a chunk of the crossfade, some shorter) at 48 kHz
// with the node's sweep width and frequency as they stand, covering frames.
std::vector<BlockSetting> unevenBlocks(const SweptEffectNode& node, std::size_t frames,
                                       unsigned int channels = 2) {
    const unsigned int sizes[] = {700, 64, 1, 300, 4096, 255, 257};
    std::vector<BlockSetting> schedule;
    std::size_t done = 0;
    for (std::size_t i = 0; done < frames; ++i) {
        const unsigned int size = static_cast<unsigned int>(
            std::min<std::size_t>(sizes[i % std::size(sizes)], frames - done));
        schedule.push_back(
            {size, 48000, channels, node.getSweepWidth(), node.getFrequency(), true});
        done += size;
    }
    return schedule;
}

Signal renderThrough(SweptEffectNode& node, const Signal& input) {
    return renderNode(node, unevenBlocks(node, input[0].size(), input.size()), input);
}

// The input processed in place: one bus is the node's input and its output, block by block.
Signal renderInPlace(SweptEffectNode& node, const Signal& input, unsigned int blockFrames) {
    Signal output = input;
    const unsigned int channels = static_cast<unsigned int>(input.size());
    for (std::size_t start = 0; start < input[0].size(); start += blockFrames) {
        const auto frames =
            static_cast<unsigned int>(std::min<std::size_t>(blockFrames, input[0].size() - start));
        AudioBus bus(channels, frames, 48000);
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < frames; ++f)
                bus.buffer.setSample(c, f, input[c][start + f]);
        }
        EXPECT_TRUE(node.process(bus, bus));
        for (unsigned int c = 0; c < channels; ++c) {
            for (unsigned int f = 0; f < frames; ++f)
                output[c][start + f] = bus.buffer.getSample(c, f);
        }
    }
    return output;
}

// Random samples with the values a crossfade could spoil: zeros of both signs, the smallest
// subnormal, the largest float.
Signal awkwardSignal(std::size_t frames) {
    Signal signal = randomSignal(2, frames, 11);
    for (auto& channel : signal) {
        channel[10] = -0.0f;
        channel[11] = 0.0f;
        channel[12] = std::numeric_limits<float>::denorm_min();
        channel[13] = -std::numeric_limits<float>::max();
    }
    return signal;
}

class SweptControls : public ::testing::TestWithParam<SweptCase> {};

std::string caseName(const ::testing::TestParamInfo<SweptCase>& info) {
    return std::string(info.param.name);
}

}  // namespace

TEST_P(SweptControls, DefaultsWrittenThroughTheCatalogueLeaveTheOutputBitForBit) {
    const SweptCase& effect = GetParam();
    std::unique_ptr<SweptEffectNode> node = effect.make();
    for (const NodeParameter& parameter : EffectCatalogue::find(effect.name)->parameters) {
        parameter.write(*node, parameter.defaultValue);
    }
    const Signal input = randomSignal(2, 20000, 5);
    ReferenceModulation reference(effect.reference, 2);
    EXPECT_TRUE(sameBits(renderThrough(*node, input),
                         render(reference, unevenBlocks(*node, 20000), input)));
}

TEST_P(SweptControls, MixZeroGivesTheDryInputExactly) {
    const SweptCase& effect = GetParam();
    const Signal input = awkwardSignal(12000);
    std::unique_ptr<SweptEffectNode> node = effect.make();
    set(*node, effect.name, "mix", 0.0f);
    EXPECT_TRUE(sameBits(renderThrough(*node, input), input));
    std::unique_ptr<SweptEffectNode> inPlace = effect.make();
    set(*inPlace, effect.name, "mix", 0.0f);
    EXPECT_TRUE(sameBits(renderInPlace(*inPlace, input, 1000), input));
}

// In place, so that the dry input must have been kept aside before the output overwrote it.
TEST_P(SweptControls, HalfMixIsTheCrossfadeOfTheDryInputAndTheFullEffect) {
    const SweptCase& effect = GetParam();
    const Signal input = randomSignal(2, 12000, 6);
    std::unique_ptr<SweptEffectNode> full = effect.make();
    const Signal wet = renderThrough(*full, input);
    std::unique_ptr<SweptEffectNode> half = effect.make();
    set(*half, effect.name, "mix", 0.5f);
    const Signal mixed = renderInPlace(*half, input, 1000);
    Signal expected = input;
    for (std::size_t c = 0; c < 2; ++c) {
        for (std::size_t f = 0; f < input[c].size(); ++f) {
            expected[c][f] = input[c][f] * 0.5f + wet[c][f] * 0.5f;
        }
    }
    EXPECT_TRUE(sameBits(mixed, expected));
}

TEST_P(SweptControls, LevelOfMinus6Point0206DecibelsHalvesTheOutput) {
    const SweptCase& effect = GetParam();
    const Signal input = randomSignal(2, 12000, 7);
    std::unique_ptr<SweptEffectNode> plain = effect.make();
    const Signal full = renderThrough(*plain, input);
    std::unique_ptr<SweptEffectNode> lowered = effect.make();
    set(*lowered, effect.name, "level", -6.0206f);
    const Signal output = renderThrough(*lowered, input);
    // -6.0206 dB as a gain, 10^(dB / 20), is 0.5 to within a few parts in ten million; each
    // sample is the full one times that gain, rounded once.
    const auto gain = static_cast<float>(std::pow(10.0, -6.0206 / 20.0));
    std::printf("%s: gain at -6.0206 dB %.9g\n", std::string(effect.name).c_str(), gain);
    EXPECT_NEAR(gain, 0.5f, 1e-6f);
    Signal expected = full;
    for (auto& channel : expected) {
        for (float& sample : channel) sample *= gain;
    }
    EXPECT_TRUE(sameBits(output, expected));
}

INSTANTIATE_TEST_SUITE_P(EverySweptEffect, SweptControls,
                         ::testing::Values(kChorusCase, kFlangerCase, kVibratoCase), caseName);

namespace {

// The plain rendering of an effect with its feedback changed.
ReferenceEffect withFeedback(ReferenceEffect effect, float feedback) {
    effect.feedsBack = feedback != 0.0f;
    effect.feedback = feedback;
    return effect;
}

// A node of the effect with one parameter set, against the plain rendering it should match.
::testing::AssertionResult matchesReference(const SweptCase& effect, std::string_view parameter,
                                            float value, const ReferenceEffect& reference) {
    std::unique_ptr<SweptEffectNode> node = effect.make();
    set(*node, effect.name, parameter, value);
    const Signal input = randomSignal(2, 30000, 8);
    ReferenceModulation plain(reference, 2);
    return sameBits(renderThrough(*node, input), render(plain, unevenBlocks(*node, 30000), input));
}

// Peak of |x| over frames [from, to) of every channel; infinity where any is not finite.
float peakOf(const Signal& signal, std::size_t from, std::size_t to) {
    float peak = 0.0f;
    for (const auto& channel : signal) {
        for (std::size_t f = from; f < to; ++f) {
            if (!std::isfinite(channel[f])) return std::numeric_limits<float>::infinity();
            peak = std::max(peak, std::fabs(channel[f]));
        }
    }
    return peak;
}

}  // namespace

TEST(SweptFeedback, ChorusFeedsBackWhatItIsSetTo) {
    for (float feedback : {0.5f, -0.5f, 0.95f}) {
        EXPECT_TRUE(matchesReference(kChorusCase, "feedback", feedback,
                                     withFeedback(kChorusCase.reference, feedback)))
            << feedback;
    }
}

TEST(SweptFeedback, FlangerFeedsBackWhatItIsSetToNegativeValuesInverted) {
    for (float feedback : {-0.7f, -0.95f, 0.95f, 0.3f}) {
        EXPECT_TRUE(matchesReference(kFlangerCase, "feedback", feedback,
                                     withFeedback(kFlangerCase.reference, feedback)))
            << feedback;
    }
}

// At 0 the line takes the input itself, as the chorus always has: 0 * wet + x would turn an
// infinite input, once read back, into a NaN that circulates for ever.
TEST(SweptFeedback, ZeroFeedbackWritesTheInputItselfIntoTheLine) {
    EXPECT_TRUE(matchesReference(kFlangerCase, "feedback", 0.0f,
                                 withFeedback(kFlangerCase.reference, 0.0f)));
    std::unique_ptr<SweptEffectNode> node = kFlangerCase.make();
    set(*node, "flanger", "feedback", 0.0f);
    Signal input = randomSignal(2, 10000, 12);
    input[0][100] = std::numeric_limits<float>::infinity();
    const Signal output = renderThrough(*node, input);
    EXPECT_LT(peakOf(output, 1000, 10000), 2.0f);
}

// Feedback at either end of its range on ten seconds of full-scale noise: the output stays
// within what a loop of gain 0.95 can build up (the line at most 1 / (1 - 0.95) = 20 times the
// input, the output 0.8 of that plus the input), and dies away once the input stops.
TEST(SweptFeedback, ExtremesStayBoundedOnNoiseAndDieAway) {
    constexpr std::size_t kNoise = 480000;
    constexpr std::size_t kSilence = 5 * 48000;
    for (const SweptCase* effect : {&kChorusCase, &kFlangerCase}) {
        for (float feedback : {-0.95f, 0.95f}) {
            std::unique_ptr<SweptEffectNode> node = effect->make();
            set(*node, effect->name, "feedback", feedback);
            Signal input = randomSignal(2, kNoise + kSilence, 9);
            for (auto& channel : input) std::fill(channel.begin() + kNoise, channel.end(), 0.0f);
            const Signal output = renderThrough(*node, input);
            const float noisePeak = peakOf(output, 0, kNoise);
            const float firstSilentSecond = peakOf(output, kNoise, kNoise + 48000);
            const float lastSilentSecond = peakOf(output, kNoise + 4 * 48000, kNoise + kSilence);
            std::printf(
                "%s feedback %g: peak %g on noise, %g then %g in the 1st and 5th silent "
                "seconds\n",
                std::string(effect->name).c_str(), feedback, noisePeak, firstSilentSecond,
                lastSilentSecond);
            EXPECT_LE(noisePeak, 17.0f);
            EXPECT_LT(lastSilentSecond, 0.1f * firstSilentSecond);
        }
    }
}

namespace {

// Each channel's delay over time, measured from an impulse train: impulses kSpacing frames
// apart, and for each the centroid of the effect's wet response (the output less the input
// where the effect keeps it) within the frames its echo can reach.
struct DelayTrack {
    std::vector<double> frames;
    std::vector<double> delays;
};

constexpr unsigned int kSpacing = 200;
constexpr float kMeasuredWidth = 0.002f;  // 96 samples of swing at 48 kHz
constexpr float kMeasuredFrequency = 2.0f;

DelayTrack trackDelay(const std::vector<float>& wet, const ReferenceEffect& effect) {
    const auto lowest = static_cast<std::size_t>(effect.baseDelay) - 1;
    const std::size_t highest = lowest + static_cast<std::size_t>(kMeasuredWidth * 48000) + 4;
    DelayTrack track;
    for (std::size_t impulse = 0; impulse + highest < wet.size(); impulse += kSpacing) {
        double weight = 0.0;
        double moment = 0.0;
        for (std::size_t f = impulse + lowest; f <= impulse + highest; ++f) {
            weight += std::fabs(wet[f]);
            moment += std::fabs(wet[f]) * static_cast<double>(f);
        }
        if (weight == 0.0) continue;
        const double at = moment / weight;
        track.frames.push_back(at);
        track.delays.push_back(at - static_cast<double>(impulse));
    }
    return track;
}

// The phase of the sine in a delay track: the least-squares fit of a + b sin(wn) + c cos(wn)
// at the measuring frequency, its phase atan2(c, b).
double phaseOf(const DelayTrack& track) {
    const double w = 2.0 * kPi * kMeasuredFrequency / 48000.0;
    double m[3][4] = {};
    for (std::size_t i = 0; i < track.frames.size(); ++i) {
        const double basis[3] = {1.0, std::sin(w * track.frames[i]), std::cos(w * track.frames[i])};
        for (int r = 0; r < 3; ++r) {
            for (int k = 0; k < 3; ++k) m[r][k] += basis[r] * basis[k];
            m[r][3] += basis[r] * track.delays[i];
        }
    }
    for (int p = 0; p < 3; ++p) {
        for (int r = p + 1; r < 3; ++r) {
            const double factor = m[r][p] / m[p][p];
            for (int k = p; k < 4; ++k) m[r][k] -= factor * m[p][k];
        }
    }
    double solution[3];
    for (int r = 2; r >= 0; --r) {
        double sum = m[r][3];
        for (int k = r + 1; k < 3; ++k) sum -= m[r][k] * solution[k];
        solution[r] = sum / m[r][r];
    }
    return std::atan2(solution[2], solution[1]);
}

// How far channel 1's sweep runs ahead of channel 0's, in radians (-pi/4 to 7pi/4), measured from
// the delays the effect renders at the given stereo phase; the flanger without feedback, so
// that each impulse gives one echo.
double measuredStereoPhase(const SweptCase& effect, float degrees) {
    std::unique_ptr<SweptEffectNode> node = effect.make();
    node->setSweepWidth(kMeasuredWidth);
    node->setFrequency(kMeasuredFrequency);
    if (effect.name == "flanger") set(*node, effect.name, "feedback", 0.0f);
    set(*node, effect.name, "stereoPhase", degrees);
    Signal input(2, std::vector<float>(4 * 48000, 0.0f));
    for (auto& channel : input) {
        for (std::size_t f = 0; f < channel.size(); f += kSpacing) channel[f] = 1.0f;
    }
    Signal wet = renderThrough(*node, input);
    if (effect.reference.keepsDry) {
        for (std::size_t c = 0; c < 2; ++c) {
            for (std::size_t f = 0; f < wet[c].size(); ++f) wet[c][f] -= input[c][f];
        }
    }
    double apart = phaseOf(trackDelay(wet[1], effect.reference)) -
                   phaseOf(trackDelay(wet[0], effect.reference));
    if (apart < -kPi / 4.0) apart += 2.0 * kPi;
    return apart;
}

}  // namespace

TEST_P(SweptControls, AtNinetyDegreesTheChannelsSweepAQuarterPeriodApart) {
    const double apart = measuredStereoPhase(GetParam(), 90.0f);
    std::printf("%s at 90 degrees: channels %.5f rad apart (a quarter period is %.5f)\n",
                std::string(GetParam().name).c_str(), apart, kPi / 2.0);
    EXPECT_NEAR(apart, kPi / 2.0, 0.01);
}

TEST(SweptStereoPhase, OtherSettingsPutTheChannelsWhereTheySay) {
    const struct {
        const SweptCase* effect;
        float degrees;
    } settings[] = {{&kVibratoCase, 0.0f},
                    {&kChorusCase, 0.0f},
                    {&kChorusCase, 180.0f},
                    {&kFlangerCase, 45.0f},
                    {&kVibratoCase, 135.0f}};
    for (const auto& setting : settings) {
        const double apart = measuredStereoPhase(*setting.effect, setting.degrees);
        std::printf("%s at %g degrees: channels %.5f rad apart\n",
                    std::string(setting.effect->name).c_str(), setting.degrees, apart);
        EXPECT_NEAR(apart, setting.degrees / 180.0 * kPi, 0.01)
            << setting.effect->name << " at " << setting.degrees;
    }
}

// The vibrato's channels each on an oscillator of their own, the second 45 degrees on, as the
// plain rendering of an effect with an oscillator per channel.
TEST(SweptStereoPhase, VibratoWithAPhaseRunsAnOscillatorPerChannel) {
    ReferenceEffect spread = kVibratoCase.reference;
    spread.oscillatorPerChannel = true;
    spread.phasePerChannel = 45.0 / 180.0 * kPi;
    EXPECT_TRUE(matchesReference(kVibratoCase, "stereoPhase", 45.0f, spread));
    ReferenceEffect chorus = kChorusCase.reference;
    chorus.phasePerChannel = 45.0 / 180.0 * kPi;
    EXPECT_TRUE(matchesReference(kChorusCase, "stereoPhase", 45.0f, chorus));
}

// Turning the vibrato's stereo phase on and off while it runs moves the second channel only:
// the first keeps the shared oscillator's sweep, bit for bit.
TEST(SweptStereoPhase, VibratoPhaseChangesLeaveTheFirstChannelAlone) {
    const Signal input = randomSignal(2, 8192, 10);
    std::unique_ptr<SweptEffectNode> steady = kVibratoCase.make();
    std::unique_ptr<SweptEffectNode> moved = kVibratoCase.make();
    Signal steadyOut(2);
    Signal movedOut(2);
    const float phases[] = {0.0f, 90.0f, 90.0f, 0.0f, 30.0f, 180.0f, 0.0f, 60.0f};
    for (std::size_t block = 0; block < std::size(phases); ++block) {
        Signal piece(2);
        for (std::size_t c = 0; c < 2; ++c) {
            piece[c].assign(input[c].begin() + block * 1024, input[c].begin() + (block + 1) * 1024);
        }
        set(*moved, "vibrato", "stereoPhase", phases[block]);
        const Signal a = runBlock(*steady, piece, 48000);
        const Signal b = runBlock(*moved, piece, 48000);
        for (std::size_t c = 0; c < 2; ++c) {
            steadyOut[c].insert(steadyOut[c].end(), a[c].begin(), a[c].end());
            movedOut[c].insert(movedOut[c].end(), b[c].begin(), b[c].end());
        }
    }
    EXPECT_TRUE(sameBits(Signal{movedOut[0]}, Signal{steadyOut[0]}));
    EXPECT_FALSE(sameBits(Signal{movedOut[1]}, Signal{steadyOut[1]}));
    // While the phase is 0 again, the second channel follows the shared oscillator once more.
    EXPECT_TRUE(sameBits(Signal{slice(movedOut[1], 6 * 1024, 7 * 1024)},
                         Signal{slice(steadyOut[1], 6 * 1024, 7 * 1024)}));
}

namespace {

// The largest sample-to-sample step of a 220 Hz tone at 0.5 through the effect (after its first
// second) while its sweep width moves from `from` by `step` every 256-frame block, as host
// automation moves it, up to `to`; with step 0 it stays at `from`.
float largestStep(const SweptCase& effect, float glideMs, float from, float to, float step) {
    std::unique_ptr<SweptEffectNode> node = effect.make();
    set(*node, effect.name, "glide", glideMs);
    node->setSweepWidth(from);
    float width = from;
    float largest = 0.0f;
    float previous = 0.0f;
    for (unsigned int block = 0; block < 4 * 48000 / 256; ++block) {
        Signal tone(1, std::vector<float>(256));
        for (unsigned int f = 0; f < 256; ++f) {
            const double t = static_cast<double>(block * 256 + f) / 48000.0;
            tone[0][f] = static_cast<float>(0.5 * std::sin(2.0 * kPi * 220.0 * t));
        }
        const Signal output = runBlock(*node, tone, 48000);
        for (unsigned int f = 0; f < 256; ++f) {
            if (block * 256 + f > 48000) {
                largest = std::max(largest, std::fabs(output[0][f] - previous));
            }
            previous = output[0][f];
        }
        if (block * 256 > 48000 && step != 0.0f) {
            width = std::min(width + step, to);
            node->setSweepWidth(width);
        }
    }
    return largest;
}

struct WidthAutomation {
    float from;
    float to;
    float step;
};

WidthAutomation automationFor(std::string_view effect) {
    if (effect == "chorus") return {0.01f, 0.04f, 0.001f};
    if (effect == "flanger") return {0.002f, 0.008f, 0.0002f};
    return {0.004f, 0.016f, 0.0004f};
}

}  // namespace

// Sweep-width automation in steps of a few tenths of a millisecond per block makes the delay
// jump by several samples at each block: a click. With a glide the width moves there over the
// glide time instead, and no step of the output is larger than twice the steady one.
TEST_P(SweptControls, GlideTakesTheClickOutOfSweepWidthAutomation) {
    const SweptCase& effect = GetParam();
    const WidthAutomation automation = automationFor(effect.name);
    const float steady = largestStep(effect, 0.0f, automation.from, automation.from, 0.0f);
    const float jumping =
        largestStep(effect, 0.0f, automation.from, automation.to, automation.step);
    const float gliding =
        largestStep(effect, 50.0f, automation.from, automation.to, automation.step);
    std::printf("%s: largest step steady %.4f, automated %.4f without glide, %.4f with 50 ms\n",
                std::string(effect.name).c_str(), steady, jumping, gliding);
    EXPECT_GT(jumping, 2.0f * steady);
    EXPECT_LE(gliding, 2.0f * steady);
}

// With a glide set but the width left alone, nothing changes, bit for bit.
TEST_P(SweptControls, GlideWithoutWidthChangesLeavesTheOutputAsItWas) {
    const SweptCase& effect = GetParam();
    const Signal input = randomSignal(2, 20000, 13);
    std::unique_ptr<SweptEffectNode> plain = effect.make();
    std::unique_ptr<SweptEffectNode> gliding = effect.make();
    set(*gliding, effect.name, "glide", 120.0f);
    EXPECT_TRUE(sameBits(renderThrough(*gliding, input), renderThrough(*plain, input)));
}
