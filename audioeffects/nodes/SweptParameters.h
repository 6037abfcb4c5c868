#pragma once

#include <array>
#include <atomic>
#include <string_view>

#include <ostrana/audioeffects/ParameterDefinition.h>

#include "nodes/OutputLevel.h"
#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {

// The parameters of a swept-delay effect (chorus, flanger, vibrato): each one atomic that
// control threads exchange and the audio thread loads. An effect without a feedback control
// leaves feedback at 0.
struct SweptParameters {
    std::atomic<bool> isEnabled;
    std::atomic<float> sweepWidth;   // loaded for every oscillator step
    std::atomic<float> frequency;    // handed to the oscillators at the start of each block
    std::atomic<float> level{0.0f};  // the rest are loaded once per block
    std::atomic<float> mix{1.0f};
    std::atomic<float> feedback{0.0f};
    std::atomic<float> stereoPhase{0.0f};
    std::atomic<float> glide{0.0f};

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
};

using SweptSlot = ParameterSlot<SweptParameters>;

// What a swept effect's parameters say, effect by effect.
struct SweptRanges {
    std::string_view switchText;
    float defaultWidth;  // seconds
    float widestWidth;
    float defaultFrequency;  // hertz
    float lowestFrequency;
    float highestFrequency;
    float defaultStereoPhase;  // degrees
};

// The switch, how far the delay swings (0 to widestWidth seconds) and how often (hertz), then
// the output's level and mix, the channels' phase offset and the sweep width's glide, in the
// order people see them. A
// swing of 0 is allowed: the effect then holds a fixed delay.
constexpr std::array<SweptSlot, 7> sweptSlots(const SweptRanges& ranges) {
    using P = ParameterDefinition;
    return {{
        {P::onOffSwitch("enabled").startingAt(true).describedAs(ranges.switchText),
         &SweptParameters::isEnabled},
        {P::realNumber("sweepWidth")
             .from(0.0f)
             .to(ranges.widestWidth)
             .startingAt(ranges.defaultWidth)
             .inSeconds()
             .describedAs("How far the delay swings, in seconds."),
         &SweptParameters::sweepWidth},
        {P::realNumber("frequency")
             .from(ranges.lowestFrequency)
             .to(ranges.highestFrequency)
             .startingAt(ranges.defaultFrequency)
             .inHertz()
             .describedAs("How often the delay swings, in hertz."),
         &SweptParameters::frequency},
        {kOutputLevel, &SweptParameters::level},
        {P::realNumber("mix").from(0.0f).to(1.0f).startingAt(1.0f).describedAs(
             "The dry input at 0, the whole effect at 1, a crossfade between."),
         &SweptParameters::mix},
        {P::realNumber("stereoPhase")
             .from(0.0f)
             .to(180.0f)
             .startingAt(ranges.defaultStereoPhase)
             .inDegrees()
             .describedAs("How far the second channel's sweep runs ahead of the first's, in "
                          "degrees."),
         &SweptParameters::stereoPhase},
        {P::realNumber("glide").from(0.0f).to(500.0f).startingAt(0.0f).inMilliseconds().describedAs(
             "Time a change of the sweep width takes to arrive, in milliseconds; 0 "
             "jumps at once."),
         &SweptParameters::glide},
    }};
}

// The feedback control of an effect that writes part of its delayed signal back into the line:
// negative values invert it (the hollow "jet" colour). Kept inside +-0.95 so that the loop
// always dies away.
constexpr SweptSlot feedbackSlot(float defaultFeedback) {
    return {ParameterDefinition::realNumber("feedback")
                .from(-0.95f)
                .to(0.95f)
                .startingAt(defaultFeedback)
                .describedAs("Share of the delayed signal fed back into the line; negative "
                             "inverts it."),
            &SweptParameters::feedback};
}

}  // namespace ostrana::extensions::audioeffects
