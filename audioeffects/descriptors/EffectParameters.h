#pragma once

#include <string_view>

#include <ostrana/audioeffects/ParameterDefinition.h>

// What each effect's parameters are: written here once. The nodes start from these defaults,
// the ping-pong delay builds its property schemas from them, and the catalogue pairs each with
// the node's accessors.
//
// Ranges. The ping-pong delay's are its published property schema: delayMs 1 to 1000 ms (the
// lines hold one second at any negotiated rate up to 384 kHz: nodes/DelayLineLength.h), the
// mixes 0 to 1, feedback 0 to 0.99 so that every echo is quieter than the one before. The plain
// delay is the same echo and takes the same ranges. The swept effects' ranges follow what each
// is for, and keep the longest delay inside the 48000-sample line up to 384 kHz (checked in
// nodes/SweepRecipe.h):
// - chorus: a copy 21 ms behind (1002 samples at 48 kHz) swinging by up to 50 ms, slowly
//   (0.01 to 5 Hz); deeper is a doubled echo, faster a warble.
// - flanger: a 0 to 10 ms sweep, the comb filter's usual span, at 0.01 to 5 Hz.
// - vibrato: the pitch bend grows with depth times rate; up to 20 ms at 0.1 to 14 Hz spans a
//   gentle wobble to a strong warble (about four semitones each way at the extremes).
// A swing of 0 is allowed everywhere: the effect then holds a fixed delay.

namespace ostrana::extensions::audioeffects::parameters {

using Parameter = ParameterDefinition;

// The on/off switch of every effect, on by default; only its wording differs.
constexpr Parameter enabledSwitch(std::string_view description) {
    return Parameter::onOffSwitch("enabled").startingAt(true).describedAs(description);
}

// The echo shared by the delay and the ping-pong delay. Only the switch's wording differs.
inline constexpr Parameter kDelayEnabled = enabledSwitch("Enable or disable the delay effect.");
inline constexpr Parameter kPingPongEnabled =
    enabledSwitch("Enable or disable the ping-pong delay effect.");
inline constexpr Parameter kDelayMs = Parameter::wholeNumber("delayMs")
                                          .from(1u)
                                          .to(1000u)
                                          .startingAt(200u)
                                          .inMilliseconds()
                                          .describedAs("The delay time in milliseconds.");
inline constexpr Parameter kDryMix =
    Parameter::realNumber("dryMix").from(0.0f).to(1.0f).startingAt(0.7f).describedAs(
        "Level of the dry signal. 0 means no dry signal, 1 means maximum dry signal.");
inline constexpr Parameter kWetMix =
    Parameter::realNumber("wetMix").from(0.0f).to(1.0f).startingAt(0.3f).describedAs(
        "Level of the wet signal. 0 means no wet signal, 1 means maximum wet signal.");
inline constexpr Parameter kFeedbackLevel =
    Parameter::realNumber("feedbackLevel")
        .from(0.0f)
        .to(0.99f)
        .startingAt(0.2f)
        .describedAs(
            "The feedback level of the delay. 0 means no feedback, 1 means maximum feedback.");

// The three parameters of a swept effect.
struct SweptEffectParameters {
    ParameterDefinition enabled;
    ParameterDefinition sweepWidth;
    ParameterDefinition frequency;
};

// How far a swept effect's delay swings: 0 to maximum seconds.
constexpr Parameter sweepWidth(float defaultValue, float maximum) {
    return Parameter::realNumber("sweepWidth")
        .from(0.0f)
        .to(maximum)
        .startingAt(defaultValue)
        .inSeconds()
        .describedAs("How far the delay swings, in seconds.");
}

// How often a swept effect's delay swings: minimum to maximum hertz.
constexpr Parameter sweepFrequency(float defaultValue, float minimum, float maximum) {
    return Parameter::realNumber("frequency")
        .from(minimum)
        .to(maximum)
        .startingAt(defaultValue)
        .inHertz()
        .describedAs("How often the delay swings, in hertz.");
}

inline constexpr SweptEffectParameters kChorus{
    enabledSwitch("Enable or disable the chorus effect."),
    sweepWidth(0.025f, 0.05f),
    sweepFrequency(0.2f, 0.01f, 5.0f),
};
inline constexpr SweptEffectParameters kFlanger{
    enabledSwitch("Enable or disable the flanger effect."),
    sweepWidth(0.005f, 0.01f),
    sweepFrequency(0.4f, 0.01f, 5.0f),
};
inline constexpr SweptEffectParameters kVibrato{
    enabledSwitch("Enable or disable the vibrato effect."),
    sweepWidth(0.01f, 0.02f),
    sweepFrequency(4.0f, 0.1f, 14.0f),
};

}  // namespace ostrana::extensions::audioeffects::parameters
