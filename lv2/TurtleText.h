#pragma once

#include <string>
#include <string_view>

#include <ostrana/audioeffects/ParameterDefinition.h>

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
    // A parameter value as a Turtle number: 0 or 1 for a switch, the whole number, or the
    // shortest decimal that reads back as the same float.
    static std::string number(const extensions::audioeffects::ParameterValue& value);
    // The local name of a unit in LV2's units vocabulary ("ms", "s", "hz": the catalogue's
    // symbol in lower case), or "" for no unit.
    static std::string unitName(extensions::audioeffects::ParameterUnit unit);
    // A parameter's name for people from its camel-case name, without a trailing unit:
    // "feedbackLevel" -> "Feedback level", "delayMs" (in ms) -> "Delay".
    static std::string nameForPeople(
        const extensions::audioeffects::ParameterDefinition& parameter);
};

}  // namespace ostrana::lv2
