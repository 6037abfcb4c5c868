#pragma once

#include <variant>

#include "descriptors/EffectParameters.h"
#include "nodes/DelayLineLength.h"

namespace ostrana::extensions::audioeffects {

// What makes one swept-delay effect (chorus, flanger, vibrato) what it is: the constants that
// the renderer and the node are instantiated with. The effect's delay is swung by a sine
// oscillator (amplitude 0.5, offset 0.5, so m lies in [0, 1]); for write pointer w and swing
// d = (m * sweepWidth) * rate the read position is
//
//     p = fmodf((((float)w - d) + (-baseDelay)) + (float)N, (float)N)
//
// formed left to right in single precision and read by the ring's linear interpolation.
struct SweepRecipe {
    float baseDelay;            // samples of delay that the sweep does not move
    bool feedsBack;             // the line receives input + feedback * wet, else the input
    bool writesBeforeReading;   // input written at w before the read, else after it
    bool keepsDry;              // output is wet * wetGain + input, else the wet alone
    bool oscillatorPerChannel;  // one oscillator per channel stepped per sample, else one
                                // shared oscillator stepped once per frame
    float wetGain;              // gain of the wet signal when the dry signal is kept
    float feedback;             // share of the wet signal written back when feeding back
    bool defaultEnabled;        // whether the effect starts on
    float defaultSweepWidth;    // depth of the swing in seconds
    float defaultFrequency;     // oscillator frequency in Hz
};

// The three effects side by side. Their starting switch, sweep width and frequency are the
// catalogue's defaults.
inline constexpr SweepRecipe kChorusRecipe{
    .baseDelay = 1002.0f,
    .feedsBack = false,
    .writesBeforeReading = false,
    .keepsDry = true,
    .oscillatorPerChannel = true,
    .wetGain = 0.8f,
    .feedback = 0.0f,
    .defaultEnabled = parameters::kChorus.enabled.defaultAs<bool>(),
    .defaultSweepWidth = parameters::kChorus.sweepWidth.defaultAs<float>(),
    .defaultFrequency = parameters::kChorus.frequency.defaultAs<float>()};
inline constexpr SweepRecipe kFlangerRecipe{
    .baseDelay = 2.0f,
    .feedsBack = true,
    .writesBeforeReading = false,
    .keepsDry = true,
    .oscillatorPerChannel = true,
    .wetGain = 0.8f,
    .feedback = 0.6f,
    .defaultEnabled = parameters::kFlanger.enabled.defaultAs<bool>(),
    .defaultSweepWidth = parameters::kFlanger.sweepWidth.defaultAs<float>(),
    .defaultFrequency = parameters::kFlanger.frequency.defaultAs<float>()};
inline constexpr SweepRecipe kVibratoRecipe{
    .baseDelay = 1.0f,
    .feedsBack = false,
    .writesBeforeReading = true,
    .keepsDry = false,
    .oscillatorPerChannel = false,
    .wetGain = 0.0f,
    .feedback = 0.0f,
    .defaultEnabled = parameters::kVibrato.enabled.defaultAs<bool>(),
    .defaultSweepWidth = parameters::kVibrato.sweepWidth.defaultAs<float>(),
    .defaultFrequency = parameters::kVibrato.frequency.defaultAs<float>()};

// Whether an effect's longest delay, baseDelay plus the widest swing at the highest rate, and
// the neighbour its interpolation reads, stay inside the 48000-sample line. They do for all
// three (the chorus's is 1002 + 0.05 * 384000 = 20202 samples), so the swept effects keep
// their whole range at every rate with the line they have always had.
constexpr bool longestDelayFitsTheLine(const SweepRecipe& recipe,
                                       const ParameterDefinition& width) {
    const double widest = static_cast<double>(std::get<float>(width.maximum)) *
                          static_cast<double>(kHighestLineSampleRate);
    return static_cast<double>(recipe.baseDelay) + widest + 1.0 < kDelayLineLength;
}
static_assert(longestDelayFitsTheLine(kChorusRecipe, parameters::kChorus.sweepWidth));
static_assert(longestDelayFitsTheLine(kFlangerRecipe, parameters::kFlanger.sweepWidth));
static_assert(longestDelayFitsTheLine(kVibratoRecipe, parameters::kVibrato.sweepWidth));

}  // namespace ostrana::extensions::audioeffects
