#include <charconv>
#include <cmath>

#include <ostrana/audioeffects/ParameterDefinition.h>

namespace ostrana::extensions::audioeffects {

namespace {

template <typename T>
bool within(const ParameterValue& value, const ParameterValue& low, const ParameterValue& high) {
    const T number = std::get<T>(value);
    return std::get<T>(low) <= number && number <= std::get<T>(high);
}

}  // namespace

bool ParameterDefinition::contains(const ParameterValue& value) const {
    if (value.index() != defaultValue.index()) return false;
    switch (kind) {
        case ParameterKind::Switch:
            return within<bool>(value, minimum, maximum);
        case ParameterKind::WholeNumber:
            return within<unsigned int>(value, minimum, maximum);
        case ParameterKind::RealNumber:
            return within<float>(value, minimum, maximum);
    }
    return false;
}

ParameterValue ParameterDefinition::fromNumber(double number) const {
    switch (kind) {
        case ParameterKind::Switch:
            return number > 0.0;
        case ParameterKind::WholeNumber:
            if (!(number > 0.0)) return 0u;
            if (number >= 4294967295.0) return 4294967295u;
            return static_cast<unsigned int>(std::nearbyint(number));
        case ParameterKind::RealNumber:
            break;
    }
    return static_cast<float>(number);
}

std::string ParameterDefinition::rangeText() const {
    if (kind == ParameterKind::Switch) return "off or on";
    std::string text = formatValue(minimum);
    text += " to ";
    text += formatValue(maximum);
    if (unit != ParameterUnit::None) {
        text += ' ';
        text += unitSymbol(unit);
    }
    return text;
}

std::string_view kindName(ParameterKind kind) {
    switch (kind) {
        case ParameterKind::Switch:
            return "switch";
        case ParameterKind::WholeNumber:
            return "whole number";
        case ParameterKind::RealNumber:
            return "real number";
    }
    return "";
}

std::string_view unitSymbol(ParameterUnit unit) {
    switch (unit) {
        case ParameterUnit::Milliseconds:
            return "ms";
        case ParameterUnit::Seconds:
            return "s";
        case ParameterUnit::Hertz:
            return "Hz";
        case ParameterUnit::Decibels:
            return "dB";
        case ParameterUnit::Degrees:
            return "deg";
        case ParameterUnit::None:
            break;
    }
    return "";
}

std::string_view unitName(ParameterUnit unit) {
    switch (unit) {
        case ParameterUnit::Milliseconds:
            return "milliseconds";
        case ParameterUnit::Seconds:
            return "seconds";
        case ParameterUnit::Hertz:
            return "hertz";
        case ParameterUnit::Decibels:
            return "decibels";
        case ParameterUnit::Degrees:
            return "degrees";
        case ParameterUnit::None:
            break;
    }
    return "none";
}

std::string formatValue(const ParameterValue& value) {
    if (const bool* on = std::get_if<bool>(&value)) return *on ? "on" : "off";
    if (const unsigned int* whole = std::get_if<unsigned int>(&value)) {
        return std::to_string(*whole);
    }
    const float real = std::get<float>(value);
    if (std::isnan(real)) return "nan";
    char text[32];
    const std::to_chars_result written = std::to_chars(text, text + sizeof text, real);
    return std::string(text, written.ptr);
}

}  // namespace ostrana::extensions::audioeffects
