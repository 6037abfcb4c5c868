#include "PresetTurtle.h"

#include <stdexcept>
#include <variant>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "PluginList.h"
#include "TurtleText.h"

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::ParameterValue;
using extensions::audioeffects::PresetSetting;

// The preset's value of one parameter, checked against the catalogue's range.
ParameterValue valueOf(const Preset& preset, const NodeParameter& parameter) {
    const ParameterValue value = preset.valueFor(parameter);
    if (!parameter.contains(value)) {
        throw std::invalid_argument("preset " + PresetTurtle::uriOf(preset) + ": " +
                                    std::string(parameter.name) + " lies outside " +
                                    parameter.rangeText());
    }
    return value;
}

// The preset's value of one parameter as its port takes it, written as a decimal whatever the
// port's kind: hosts then load it as a float, as they pass control values.
std::string portValue(const Preset& preset, const NodeParameter& parameter) {
    const ControlPort port = ControlPort::of(parameter);
    const float value =
        std::visit([](auto v) { return static_cast<float>(v); }, valueOf(preset, parameter));
    return TurtleText::decimal(port.toPort(value));
}

void checkNamesExist(const Preset& preset, const NodeTypeEntry& entry) {
    for (const PresetSetting& setting : preset.settings) {
        if (entry.findParameter(setting.parameter) == nullptr) {
            throw std::invalid_argument("preset " + PresetTurtle::uriOf(preset) +
                                        ": no parameter " + std::string(setting.parameter));
        }
    }
}

}  // namespace

std::string PresetTurtle::uriOf(const Preset& preset) {
    return std::string(PluginList::kProjectUri) + "/presets/" + std::string(preset.nodeType) + "-" +
           std::string(preset.name);
}

std::string PresetTurtle::appliesTo(const Preset& preset) {
    std::string plugins;
    for (const PluginVariant& plugin : PluginList::plugins()) {
        if (plugin.entry->shortName != preset.nodeType) continue;
        plugins += (plugins.empty() ? "" : " , ") + TurtleText::resource(plugin.uri);
    }
    return plugins;
}

std::string PresetTurtle::text() {
    std::string text = TurtleText::prefixes();
    for (const Preset& preset : EffectCatalogue::presets()) {
        if (!appliesTo(preset).empty()) text += PresetTurtle::preset(preset);
    }
    return text;
}

std::string PresetTurtle::preset(const Preset& preset) {
    const NodeTypeEntry& entry = *EffectCatalogue::find(preset.nodeType);
    checkNamesExist(preset, entry);
    std::string text = TurtleText::resource(uriOf(preset)) + "\n    a pset:Preset ;\n";
    text += "    lv2:appliesTo " + appliesTo(preset) + " ;\n";
    text += "    rdfs:label " + TurtleText::literal(preset.displayName) + " ;\n    lv2:port ";
    std::string ports;
    for (const NodeParameter& parameter : entry.parameters) {
        ports += (ports.empty() ? "" : " , ") + std::string("[\n        lv2:symbol ") +
                 TurtleText::literal(parameter.name) + " ;\n        pset:value " +
                 portValue(preset, parameter) + "\n    ]";
    }
    return text + ports + " .\n\n";
}

}  // namespace ostrana::lv2
