#pragma once

#include <array>
#include <atomic>
#include <string_view>

#include <ostrana/audioeffects/ParameterDefinition.h>

#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {

// The parameters of a swept-delay effect (chorus, flanger, vibrato): each one atomic that
// control threads exchange and the audio thread loads.
struct SweptParameters {
    std::atomic<bool> isEnabled;
    std::atomic<float> sweepWidth;  // loaded for every oscillator step
    std::atomic<float> frequency;   // handed to the oscillators at the start of each block

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
};

using SweptSlot = ParameterSlot<SweptParameters>;

// What a swept effect's three parameters say, effect by effect.
struct SweptRanges {
    std::string_view switchText;
    float defaultWidth;  // seconds
    float widestWidth;
    float defaultFrequency;  // hertz
    float lowestFrequency;
    float highestFrequency;
};

// The switch, how far the delay swings (0 to widestWidth seconds) and how often (hertz), in the
// order people see them. A swing of 0 is allowed: the effect then holds a fixed delay.
constexpr std::array<SweptSlot, 3> sweptSlots(const SweptRanges& ranges) {
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
    }};
}

}  // namespace ostrana::extensions::audioeffects
