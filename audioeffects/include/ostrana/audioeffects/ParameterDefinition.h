#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::extensions::audioeffects {

// How a parameter's value is held and written.
enum class ParameterKind {
    Switch,       // on or off: a bool
    WholeNumber,  // a whole number: an unsigned int
    RealNumber,   // a real number: a float
};

// The unit a parameter's value is counted in.
enum class ParameterUnit { None, Milliseconds, Seconds, Hertz, Decibels, Degrees };

// A parameter's value, of its kind: bool for a switch, unsigned int for a whole number, float
// for a real number.
using ParameterValue = std::variant<bool, unsigned int, float>;

// What one parameter of a node type is: its name, kind, default, range, unit and a one-line
// description. Plain constant data; the range is what the node type is meant for, not what
// the node enforces (its setters store any value as given).
//
// Written as a sentence, each step naming what it sets:
//
//     ParameterDefinition::wholeNumber("delayMs").from(1u).to(1000u).startingAt(200u)
//         .inMilliseconds().describedAs("The delay time in milliseconds.")
//     ParameterDefinition::onOffSwitch("enabled").startingAt(true).describedAs("...")
//
// A value of another kind than the parameter's does not compile where the definition is a
// constant (it throws std::invalid_argument elsewhere).
struct OSTRANA_AUDIOEFFECTS_EXPORT ParameterDefinition {
    std::string_view name;
    ParameterKind kind;
    ParameterValue defaultValue;
    ParameterValue minimum;
    ParameterValue maximum;
    ParameterUnit unit;
    std::string_view description;

    // A switch, off or on (its range is off to on), starting off until startingAt says.
    static constexpr ParameterDefinition onOffSwitch(std::string_view name) {
        return {name, ParameterKind::Switch, false, false, true, ParameterUnit::None, {}};
    }
    // A whole number (an unsigned int), 0 until from, to and startingAt say otherwise.
    static constexpr ParameterDefinition wholeNumber(std::string_view name) {
        return {name, ParameterKind::WholeNumber, 0u, 0u, 0u, ParameterUnit::None, {}};
    }
    // A real number (a float), 0 until from, to and startingAt say otherwise.
    static constexpr ParameterDefinition realNumber(std::string_view name) {
        return {name, ParameterKind::RealNumber, 0.0f, 0.0f, 0.0f, ParameterUnit::None, {}};
    }

    constexpr ParameterDefinition from(ParameterValue lowest) const {
        ParameterDefinition next = *this;
        next.minimum = ofThisKind(lowest);
        return next;
    }
    constexpr ParameterDefinition to(ParameterValue highest) const {
        ParameterDefinition next = *this;
        next.maximum = ofThisKind(highest);
        return next;
    }
    constexpr ParameterDefinition startingAt(ParameterValue value) const {
        ParameterDefinition next = *this;
        next.defaultValue = ofThisKind(value);
        return next;
    }
    constexpr ParameterDefinition inMilliseconds() const { return in(ParameterUnit::Milliseconds); }
    constexpr ParameterDefinition inSeconds() const { return in(ParameterUnit::Seconds); }
    constexpr ParameterDefinition inHertz() const { return in(ParameterUnit::Hertz); }
    constexpr ParameterDefinition inDecibels() const { return in(ParameterUnit::Decibels); }
    constexpr ParameterDefinition inDegrees() const { return in(ParameterUnit::Degrees); }
    constexpr ParameterDefinition describedAs(std::string_view text) const {
        ParameterDefinition next = *this;
        next.description = text;
        return next;
    }

    // The default as its C++ type (bool, unsigned int or float).
    template <typename T>
    constexpr T defaultAs() const {
        return std::get<T>(defaultValue);
    }

    // Whether value is of this parameter's kind and lies within [minimum, maximum]. Not a
    // number lies in no range.
    bool contains(const ParameterValue& value) const;
    // A number as a value of this parameter's kind: a switch is on when the number is above 0;
    // a whole number is the nearest one, limited to 0 and 4294967295 (not a number gives 0); a
    // real number is the nearest float.
    ParameterValue fromNumber(double number) const;
    // The range for people: "1 to 1000 ms", "0 to 0.99", "off or on".
    std::string rangeText() const;

  private:
    constexpr ParameterDefinition in(ParameterUnit counted) const {
        ParameterDefinition next = *this;
        next.unit = counted;
        return next;
    }
    // value itself, when it is of this parameter's kind.
    constexpr const ParameterValue& ofThisKind(const ParameterValue& value) const {
        if (value.index() != static_cast<std::size_t>(kind)) {
            throw std::invalid_argument(
                "a parameter's value is of another kind than the parameter");
        }
        return value;
    }
};

// "switch", "whole number" or "real number".
OSTRANA_AUDIOEFFECTS_EXPORT std::string_view kindName(ParameterKind kind);
// "ms", "s", "Hz", "dB", "deg", or "" for no unit.
OSTRANA_AUDIOEFFECTS_EXPORT std::string_view unitSymbol(ParameterUnit unit);
// "milliseconds", "seconds", "hertz", "decibels", "degrees" or "none".
OSTRANA_AUDIOEFFECTS_EXPORT std::string_view unitName(ParameterUnit unit);
// A value as people write it: "on"/"off", "200", "0.7" (the shortest decimal that reads back as
// the same float).
OSTRANA_AUDIOEFFECTS_EXPORT std::string formatValue(const ParameterValue& value);

}  // namespace ostrana::extensions::audioeffects
