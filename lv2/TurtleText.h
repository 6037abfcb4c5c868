#pragma once

#include <string>
#include <string_view>

#include <ostrana/audioeffects/ParameterDefinition.h>

#include "ControlPort.h"

namespace ostrana::lv2 {

// Pieces of Turtle text made from catalogue data.
class TurtleText {
  public:
    // The prefix lines of the vocabularies the bundle's files use.
    static std::string prefixes();
    // A string literal, quoted and escaped.
    static std::string literal(std::string_view text);
    // <uri>
    static std::string resource(std::string_view uri);
    // A port's value as a Turtle number of the literal type its kind wants: an integer for an
    // integer port or a toggle (0 or 1: LV2 ranges lv2:enabled over integers, and lilv gives
    // hosts no number for a boolean literal), otherwise a decimal with a point, the shortest
    // that reads back as the same float ("0.7", "25.0").
    static std::string number(const ControlPort& port, float value);
    // A value as a decimal with a point, as presets give every port's value.
    static std::string decimal(float value);
    // The local name of a unit in LV2's units vocabulary ("ms", "s", "hz", "db": the
    // catalogue's symbol in lower case; "degree" for degrees), or "" for no unit.
    static std::string unitName(extensions::audioeffects::ParameterUnit unit);
    // A parameter's name for people from its camel-case name, without a trailing unit:
    // "feedbackLevel" -> "Feedback level", "delayMs" (in ms) -> "Delay".
    static std::string nameForPeople(
        const extensions::audioeffects::ParameterDefinition& parameter);
};

}  // namespace ostrana::lv2
