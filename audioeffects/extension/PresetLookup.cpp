// Finding and applying the factory presets; the table itself is in FactoryPresets.cpp.
#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <string>

#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::extensions::audioeffects {

namespace {

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

}  // namespace

const PresetSetting* Preset::findSetting(std::string_view parameter) const {
    for (const PresetSetting& setting : settings) {
        if (setting.parameter == parameter) return &setting;
    }
    return nullptr;
}

ParameterValue Preset::valueFor(const ParameterDefinition& parameter) const {
    const PresetSetting* setting = findSetting(parameter.name);
    return setting != nullptr ? setting->value : parameter.defaultValue;
}

std::span<const Preset> EffectCatalogue::presetsOf(std::string_view nodeName) {
    const NodeTypeEntry* entry = find(nodeName);
    if (entry == nullptr) return {};
    const std::span<const Preset> all = presets();
    const auto ofType = [entry](const Preset& preset) {
        return preset.nodeType == entry->shortName;
    };
    const auto first = std::find_if(all.begin(), all.end(), ofType);
    const auto last = std::find_if_not(first, all.end(), ofType);
    return {first, last};
}

const Preset* EffectCatalogue::findPreset(std::string_view nodeName, std::string_view presetName) {
    for (const Preset& preset : presetsOf(nodeName)) {
        if (sameIgnoringCase(preset.name, presetName)) return &preset;
    }
    return nullptr;
}

void EffectCatalogue::applyPreset(const Preset& preset, Node& node) {
    const NodeTypeEntry* entry = find(preset.nodeType);
    if (entry == nullptr) {
        throw std::invalid_argument("preset '" + std::string(preset.name) +
                                    "' is for an unknown node type '" +
                                    std::string(preset.nodeType) + "'");
    }
    // The first write refuses a node of another type before anything is changed.
    for (const NodeParameter& parameter : entry->parameters) {
        parameter.write(node, preset.valueFor(parameter));
    }
}

}  // namespace ostrana::extensions::audioeffects
