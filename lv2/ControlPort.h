#pragma once

#include <string>

#include <ostrana/audioeffects/NodeParameter.h>

namespace ostrana::lv2 {

// One control input of a plug-in as hosts see it: its symbol, kind, range and default in the
// port's own unit, and the catalogue parameter it drives, if any.
struct ControlPort {
    enum class Kind { Toggle, Integer, Real };

    std::string symbol;
    // For a control of the plug-in's own: its name and description for people (a catalogue
    // parameter's come from the catalogue).
    std::string name;
    std::string comment;
    // The catalogue parameter this port sets on the node, or nullptr for a control of the
    // plug-in's own.
    const extensions::audioeffects::NodeParameter* parameter = nullptr;
    Kind kind = Kind::Real;
    float defaultValue = 0.0f;
    float minimum = 0.0f;
    float maximum = 1.0f;
    // The port's unit, and how many of it make one of the parameter's: a parameter in seconds
    // is shown in milliseconds (1000), where hosts' sliders read well; every other one as it
    // is (1).
    extensions::audioeffects::ParameterUnit unit = extensions::audioeffects::ParameterUnit::None;
    float perParameterUnit = 1.0f;

    // A port of a catalogue parameter, with the catalogue's range and default in the port's
    // unit.
    static ControlPort of(const extensions::audioeffects::NodeParameter& parameter);

    // A switch of the plug-in's own, and a choice among count values 0 to count - 1.
    static ControlPort toggle(std::string symbol, std::string name, std::string comment, bool on);
    static ControlPort choice(std::string symbol, std::string name, std::string comment,
                              unsigned int count, unsigned int defaultValue);

    // A value of the catalogue parameter in the port's unit, and back. For milliseconds the
    // way back is one float division by 1000, which gives every whole number of milliseconds
    // (all the defaults, ends of ranges and presets) as the nearest float to the catalogue's
    // value in seconds: exactly the catalogue's value.
    float toPort(float parameterValue) const { return parameterValue * perParameterUnit; }
    float toParameter(float portValue) const { return portValue / perParameterUnit; }

    // What the plug-in makes of a value a host wrote: not a number or an infinity keeps the
    // previous value; anything else is limited to the range, an integer port's value rounded
    // to the nearest whole number, a toggle's read as on above zero (LV2's reading of a
    // toggle) and off otherwise.
    float sanitized(float value, float previous) const;
};

}  // namespace ostrana::lv2
