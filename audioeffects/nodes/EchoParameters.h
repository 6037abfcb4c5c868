#pragma once

#include <array>
#include <atomic>
#include <string_view>

#include <ostrana/audioeffects/ParameterDefinition.h>

#include "nodes/DelayLineLength.h"
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

// The echo's five parameters, in the order people see them, with the switch's wording (the
// only difference between the two nodes). Ranges: the ping-pong delay's published property
// schema, which the plain delay shares: delayMs 1 to 1000 ms (the lines hold one second at any
// rate up to 384 kHz: nodes/DelayLineLength.h), the mixes 0 to 1, feedback 0 to 0.99 so that
// every echo is quieter than the one before.
constexpr std::array<ParameterSlot<EchoParameters>, 5> echoSlots(std::string_view switchText) {
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

}  // namespace ostrana::extensions::audioeffects
