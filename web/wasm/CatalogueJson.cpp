#include "CatalogueJson.h"

#include <cstdio>

#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::web {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::ParameterValue;

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

// A switch as 0 or 1; numbers as formatValue writes them, which JSON reads as they are.
std::string number(const ParameterValue& value) {
    if (const bool* on = std::get_if<bool>(&value)) return *on ? "1" : "0";
    return extensions::audioeffects::formatValue(value);
}

std::string parameterJson(const NodeParameter& parameter) {
    using extensions::audioeffects::kindName;
    using extensions::audioeffects::unitName;
    using extensions::audioeffects::unitSymbol;
    return "{\"name\":" + quoted(parameter.name) + ",\"kind\":" + quoted(kindName(parameter.kind)) +
           ",\"defaultValue\":" + number(parameter.defaultValue) +
           ",\"minValue\":" + number(parameter.minimum) +
           ",\"maxValue\":" + number(parameter.maximum) +
           ",\"unit\":" + quoted(unitSymbol(parameter.unit)) +
           ",\"unitName\":" + quoted(unitName(parameter.unit)) +
           ",\"description\":" + quoted(parameter.description) + "}";
}

// A preset with a value for every parameter (its own settings, the defaults for the rest), so
// that applying it gives the same sound wherever the node was.
std::string presetJson(const NodeTypeEntry& entry, const extensions::audioeffects::Preset& preset) {
    std::string values;
    for (const NodeParameter& parameter : entry.parameters) {
        values += (values.empty() ? "" : ",") + quoted(parameter.name) + ":" +
                  number(preset.valueFor(parameter));
    }
    return "{\"name\":" + quoted(preset.name) + ",\"displayName\":" + quoted(preset.displayName) +
           ",\"parameters\":{" + values + "}}";
}

std::string entryJson(const NodeTypeEntry& entry) {
    std::string parameters;
    for (const NodeParameter& parameter : entry.parameters) {
        parameters += (parameters.empty() ? "" : ",") + parameterJson(parameter);
    }
    std::string presets;
    for (const auto& preset : EffectCatalogue::presetsOf(entry.shortName)) {
        presets += (presets.empty() ? "" : ",") + presetJson(entry, preset);
    }
    return "{\"shortName\":" + quoted(entry.shortName) +
           ",\"typeName\":" + quoted(entry.typeName()) +
           ",\"displayName\":" + quoted(entry.displayName()) +
           ",\"minChannels\":" + std::to_string(entry.minChannels) +
           ",\"maxChannels\":" + std::to_string(entry.maxChannels) + ",\"parameters\":[" +
           parameters + "],\"presets\":[" + presets + "]}";
}

}  // namespace

std::string catalogueJson() {
    std::string types;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        types += (types.empty() ? "" : ",") + entryJson(entry);
    }
    return "{\"nodeTypes\":[" + types + "]}";
}

}  // namespace ostrana::web
