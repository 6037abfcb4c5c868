#pragma once

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
enum class ParameterUnit { None, Milliseconds, Seconds, Hertz };

// A parameter's value, of its kind: bool for a switch, unsigned int for a whole number, float
// for a real number.
using ParameterValue = std::variant<bool, unsigned int, float>;

// What one parameter of a node type is: its name, kind, default, range, unit and a one-line
// description. Plain constant data; the range is what the node type is meant for, not what
// the node enforces (its setters store any value as given).
struct OSTRANA_AUDIOEFFECTS_EXPORT ParameterDefinition {
    std::string_view name;
    ParameterKind kind;
    ParameterValue defaultValue;
    ParameterValue minimum;
    ParameterValue maximum;
    ParameterUnit unit;
    std::string_view description;

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
};

// "switch", "whole number" or "real number".
OSTRANA_AUDIOEFFECTS_EXPORT std::string_view kindName(ParameterKind kind);
// "ms", "s", "Hz", or "" for no unit.
OSTRANA_AUDIOEFFECTS_EXPORT std::string_view unitSymbol(ParameterUnit unit);
// "milliseconds", "seconds", "hertz" or "none".
OSTRANA_AUDIOEFFECTS_EXPORT std::string_view unitName(ParameterUnit unit);
// A value as people write it: "on"/"off", "200", "0.7" (the shortest decimal that reads back as
// the same float).
OSTRANA_AUDIOEFFECTS_EXPORT std::string formatValue(const ParameterValue& value);

}  // namespace ostrana::extensions::audioeffects
