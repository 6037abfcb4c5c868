#include "CatalogueConversion.h"

#include <string>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "ParameterConversion.h"
#include "PythonName.h"

namespace py = pybind11;

namespace ostrana::python {

namespace {

using namespace extensions::audioeffects;

py::str text(std::string_view view) {
    return py::str(view.data(), view.size());
}

}  // namespace

py::dict CatalogueConversion::fromParameter(const NodeParameter& parameter) {
    py::dict data;
    data["name"] = text(parameter.name);
    data["python_name"] = PythonName::of(parameter.name);
    data["kind"] = text(kindName(parameter.kind));
    data["default"] = ParameterConversion::toPython(parameter.defaultValue);
    data["minimum"] = ParameterConversion::toPython(parameter.minimum);
    data["maximum"] = ParameterConversion::toPython(parameter.maximum);
    data["unit"] = text(unitName(parameter.unit));
    data["unit_symbol"] = text(unitSymbol(parameter.unit));
    data["range"] = parameter.rangeText();
    data["description"] = text(parameter.description);
    return data;
}

py::dict CatalogueConversion::fromEntry(const NodeTypeEntry& entry) {
    const NodeTypeInfo descriptor = entry.describe();
    py::dict data;
    data["type_name"] = entry.typeName();
    data["short_name"] = text(entry.shortName);
    data["class_name"] = descriptor.subtype;
    data["display_name"] = entry.displayName();
    data["description"] = descriptor.description;
    data["min_channels"] = entry.minChannels;
    data["max_channels"] = entry.maxChannels;
    data["extra_delay_samples"] = entry.extraDelaySamples;
    py::list parameters;
    for (const NodeParameter& parameter : entry.parameters) {
        parameters.append(fromParameter(parameter));
    }
    data["parameters"] = parameters;
    return data;
}

py::list CatalogueConversion::nodeTypes() {
    py::list types;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) types.append(fromEntry(entry));
    return types;
}

py::list CatalogueConversion::presets() {
    py::list presets;
    for (const Preset& preset : EffectCatalogue::presets()) {
        const NodeTypeEntry* entry = EffectCatalogue::find(preset.nodeType);
        py::dict settings;
        for (const PresetSetting& setting : preset.settings) {
            settings[py::str(PythonName::of(setting.parameter))] =
                ParameterConversion::toPython(setting.value);
        }
        py::dict data;
        data["node"] = text(preset.nodeType);
        data["type_name"] = entry == nullptr ? std::string() : entry->typeName();
        data["name"] = text(preset.name);
        data["display_name"] = text(preset.displayName);
        data["settings"] = settings;
        presets.append(data);
    }
    return presets;
}

}  // namespace ostrana::python
