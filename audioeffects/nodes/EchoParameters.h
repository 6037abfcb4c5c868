#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>

#include <ostrana/audioeffects/ParameterDefinition.h>

#include "nodes/DelayLineLength.h"
#include "nodes/OutputLevel.h"
#include "nodes/ParameterTable.h"

namespace ostrana::extensions::audioeffects {

// The echo's parameters, shared by the delay and the ping-pong delay: each one atomic that
// control threads exchange and the audio thread loads. A node starts from the defaults of its
// table (echoSlots).
struct EchoParameters {
    std::atomic<bool> isEnabled;
    std::atomic<unsigned int> delayMs;
    std::atomic<float> dryMix;
    std::atomic<float> wetMix;
    std::atomic<float> feedbackLevel;

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
    static_assert(std::atomic<unsigned int>::is_always_lock_free);

    // A delay in samples before truncation: delayMs * (sampleRate / 1000.0), in double
    // precision. Each node limits it to its own line.
    static double samplesFor(unsigned int delayMs, unsigned int sampleRate) {
        return static_cast<double>(delayMs) * (static_cast<double>(sampleRate) / 1000.0);
    }
};

// The controls both delays have beyond the echo's five: a level on the output and a glide of
// the delay time. They are catalogue parameters only, never host properties of the ping-pong
// delay, whose properties stay the echo's five.
inline constexpr float kLongestGlideMs = 500.0f;

struct EchoControls : EchoParameters {
    std::atomic<float> levelDb;
    std::atomic<float> glideMs;
};

// The echo's five parameters, in the order people see them, with the switch's wording (the
// only difference between the two nodes). Ranges: the ping-pong delay's published property
// schema, which the plain delay shares: delayMs 1 to 1000 ms (the lines hold one second at any
// rate up to 384 kHz: nodes/DelayLineLength.h), the mixes 0 to 1, feedback 0 to 0.99 so that
// every echo is quieter than the one before. Values is EchoParameters or a struct derived
// from it.
template <typename Values = EchoParameters>
constexpr std::array<ParameterSlot<Values>, 5> echoSlots(std::string_view switchText) {
    using P = ParameterDefinition;
    return {{
        {P::onOffSwitch("enabled").startingAt(true).describedAs(switchText),
         &EchoParameters::isEnabled},
        {P::wholeNumber("delayMs")
             .from(1u)
             .to(kLongestDelayMs)
             .startingAt(200u)
             .inMilliseconds()
             .describedAs("The delay time in milliseconds."),
         &EchoParameters::delayMs},
        {P::realNumber("dryMix").from(0.0f).to(1.0f).startingAt(0.7f).describedAs(
             "Level of the dry signal. 0 means no dry signal, 1 means maximum dry signal."),
         &EchoParameters::dryMix},
        {P::realNumber("wetMix").from(0.0f).to(1.0f).startingAt(0.3f).describedAs(
             "Level of the wet signal. 0 means no wet signal, 1 means maximum wet signal."),
         &EchoParameters::wetMix},
        {P::realNumber("feedbackLevel")
             .from(0.0f)
             .to(0.99f)
             .startingAt(0.2f)
             .describedAs("The feedback level of the delay. 0 means no feedback, 1 means "
                          "maximum feedback."),
         &EchoParameters::feedbackLevel},
    }};
}

// The level and the glide, whose defaults (0 dB, 0 ms) leave the echo as it is without them.
template <typename Values>
constexpr std::array<ParameterSlot<Values>, 2> echoControlSlots() {
    using P = ParameterDefinition;
    return {{
        {kOutputLevel, &EchoControls::levelDb},
        {P::realNumber("glide")
             .from(0.0f)
             .to(kLongestGlideMs)
             .startingAt(0.0f)
             .inMilliseconds()
             .describedAs("The time in milliseconds the delay takes to move to a new delay "
                          "time. 0 jumps at once."),
         &EchoControls::glideMs},
    }};
}

// A glide time in milliseconds held to its range (not a number counts as no glide).
inline float heldGlideMs(float glideMs) {
    return std::isnan(glideMs) ? 0.0f : std::clamp(glideMs, 0.0f, kLongestGlideMs);
}

}  // namespace ostrana::extensions::audioeffects
