#include "ControlPort.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <variant>

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterValue;

float asFloat(const ParameterValue& value) {
    return std::visit([](auto v) { return static_cast<float>(v); }, value);
}

ControlPort::Kind kindOf(ParameterKind kind) {
    switch (kind) {
        case ParameterKind::Switch:
            return ControlPort::Kind::Toggle;
        case ParameterKind::WholeNumber:
            return ControlPort::Kind::Integer;
        case ParameterKind::RealNumber:
            break;
    }
    return ControlPort::Kind::Real;
}

}  // namespace

ControlPort ControlPort::of(const NodeParameter& parameter) {
    ControlPort port;
    port.symbol = std::string(parameter.name);
    port.parameter = &parameter;
    port.kind = kindOf(parameter.kind);
    port.unit = parameter.unit;
    if (parameter.unit == extensions::audioeffects::ParameterUnit::Seconds) {
        port.unit = extensions::audioeffects::ParameterUnit::Milliseconds;
        port.perParameterUnit = 1000.0f;
    }
    port.defaultValue = port.toPort(asFloat(parameter.defaultValue));
    port.minimum = port.toPort(asFloat(parameter.minimum));
    port.maximum = port.toPort(asFloat(parameter.maximum));
    return port;
}

ControlPort ControlPort::toggle(std::string symbol, std::string name, std::string comment,
                                bool on) {
    ControlPort port;
    port.symbol = std::move(symbol);
    port.name = std::move(name);
    port.comment = std::move(comment);
    port.kind = Kind::Toggle;
    port.defaultValue = on ? 1.0f : 0.0f;
    return port;
}

ControlPort ControlPort::choice(std::string symbol, std::string name, std::string comment,
                                unsigned int count, unsigned int defaultValue) {
    ControlPort port;
    port.symbol = std::move(symbol);
    port.name = std::move(name);
    port.comment = std::move(comment);
    port.kind = Kind::Integer;
    port.defaultValue = static_cast<float>(defaultValue);
    port.maximum = static_cast<float>(count - 1);
    return port;
}

float ControlPort::sanitized(float value, float previous) const {
    if (!std::isfinite(value)) return previous;
    switch (kind) {
        case Kind::Toggle:
            return value > 0.0f ? 1.0f : 0.0f;
        case Kind::Integer:
            return std::clamp(std::round(value), minimum, maximum);
        case Kind::Real:
            break;
    }
    return std::clamp(value, minimum, maximum);
}

}  // namespace ostrana::lv2
