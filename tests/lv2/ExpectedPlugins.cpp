#include "ExpectedPlugins.h"

#include <variant>

#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::lv2::testing {

namespace {

constexpr const char* kProjectUri = "https://dravolt.com/lv2/ostrana-effects/";

}  // namespace

std::string ExpectedPlugin::label() const {
    std::string name(entry->shortName);
    for (char& c : name) c = c == '-' ? '_' : c;
    if (channels == 1) name += "_mono";
    if (monoToStereo) name += "_mono_stereo";
    return name;
}

std::vector<ExpectedPlugin> expectedPlugins() {
    std::vector<ExpectedPlugin> plugins;
    for (const auto& entry : extensions::audioeffects::EffectCatalogue::nodeTypes()) {
        const std::string uri = kProjectUri + std::string(entry.shortName);
        if (entry.acceptsChannels(2)) plugins.push_back({&entry, 2, uri});
        if (entry.minChannels == 1) plugins.push_back({&entry, 1, uri + "-mono"});
        if (entry.acceptsChannels(2) && entry.widensMono) {
            plugins.push_back({&entry, 2, uri + "-mono-stereo", true});
        }
    }
    return plugins;
}

PortUnit portUnitOf(const extensions::audioeffects::ParameterDefinition& parameter) {
    using extensions::audioeffects::ParameterUnit;
    if (parameter.unit == ParameterUnit::Seconds) return {ParameterUnit::Milliseconds, 1000.0f};
    return {parameter.unit, 1.0f};
}

extensions::audioeffects::ParameterValue parameterValueOf(
    const extensions::audioeffects::ParameterDefinition& parameter, double portValue) {
    const float scale = portUnitOf(parameter).perParameterUnit;
    if (scale == 1.0f) return parameter.fromNumber(portValue);
    return parameter.fromNumber(static_cast<float>(portValue) / scale);
}

float portValueOf(const extensions::audioeffects::ParameterDefinition& parameter,
                  const extensions::audioeffects::ParameterValue& value) {
    const float number = std::visit([](auto v) { return static_cast<float>(v); }, value);
    return number * portUnitOf(parameter).perParameterUnit;
}

float portDefaultOf(const extensions::audioeffects::ParameterDefinition& parameter) {
    if (parameter.name == "glide") return 50.0f;
    return portValueOf(parameter, parameter.defaultValue);
}

void PrintTo(const ExpectedPlugin& plugin, std::ostream* stream) {
    *stream << plugin.uri;
}

std::string bundleDirectory() {
    return OSTRANA_LV2_BUNDLE "/";
}

std::string bundleParentDirectory() {
    std::string bundle = OSTRANA_LV2_BUNDLE;
    return bundle.substr(0, bundle.find_last_of('/') + 1);
}

}  // namespace ostrana::lv2::testing
