#include "PresetsCommand.h"

#include <nlohmann/json.hpp>

#include <span>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "NodeCatalog.h"
#include "ParameterJson.h"
#include "TextTable.h"

namespace ostrana::fx {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::formatValue;
using extensions::audioeffects::Preset;
using extensions::audioeffects::PresetSetting;

// "delayMs=110 feedbackLevel=0.05", as --set takes them.
std::string settingsText(const Preset& preset) {
    std::string text;
    for (const PresetSetting& setting : preset.settings) {
        if (!text.empty()) text += ' ';
        text.append(setting.parameter).append("=").append(formatValue(setting.value));
    }
    return text;
}

void printJson(std::span<const Preset> presets, std::ostream& out) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Preset& preset : presets) {
        nlohmann::ordered_json settings = nlohmann::ordered_json::object();
        for (const PresetSetting& setting : preset.settings) {
            settings[std::string(setting.parameter)] = parameterJson(setting.value);
        }
        list.push_back({{"node", preset.nodeType},
                        {"name", preset.name},
                        {"displayName", preset.displayName},
                        {"settings", settings}});
    }
    out << list.dump(2) << "\n";
}

void printTable(std::span<const Preset> presets, std::ostream& out) {
    TextTable table({"node", "preset", "display name", "settings"});
    for (const Preset& preset : presets) {
        table.add({std::string(preset.nodeType), std::string(preset.name),
                   std::string(preset.displayName), settingsText(preset)});
    }
    table.print(out);
    out << "\nApply one with: ostrana-fx render IN OUT --node NODE --preset PRESET (a --set after "
           "it\nchanges one setting); parameters a preset does not name take their defaults.\n";
}

}  // namespace

void PresetsCommand::run(const std::string& nodeType, bool json, std::ostream& out) {
    const std::string type = nodeType.empty() ? "" : NodeCatalog::resolve(nodeType, "NODE");
    const std::span<const Preset> presets =
        type.empty() ? EffectCatalogue::presets() : EffectCatalogue::presetsOf(type);
    if (json) {
        printJson(presets, out);
    } else if (presets.empty()) {
        out << "no presets" << (type.empty() ? "" : " for ") << type << "\n";
    } else {
        printTable(presets, out);
    }
}

}  // namespace ostrana::fx
