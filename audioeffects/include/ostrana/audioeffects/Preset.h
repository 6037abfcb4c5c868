#pragma once

#include <span>
#include <string_view>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/ParameterDefinition.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::extensions::audioeffects {

// One value of a preset: a parameter's name, as the catalogue lists it, and a value of the
// parameter's kind.
struct PresetSetting {
    std::string_view parameter;
    ParameterValue value;
};

// A named set of parameter values for one node type: settings a person would reach for,
// the same in every front end. Plain constant data. A parameter the preset does not name
// takes its default, so applying a preset gives the same sound whatever was set before.
struct OSTRANA_AUDIOEFFECTS_EXPORT Preset {
    // The catalogue's short name of the node type: "delay", "chorus", ...
    std::string_view nodeType;
    // A short lower-case name, unique within the node type: "slapback", "long-echo".
    std::string_view name;
    // The name for people: "Slapback", "Long echo".
    std::string_view displayName;
    std::span<const PresetSetting> settings;

    // The value the preset gives this parameter: its own setting, or else the default.
    ParameterValue valueFor(const ParameterDefinition& parameter) const;
    // The setting for the parameter of this name, or nullptr where the preset names none.
    const PresetSetting* findSetting(std::string_view parameter) const;
};

}  // namespace ostrana::extensions::audioeffects
