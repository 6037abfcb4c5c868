// The factory presets as hosts find them through lilv: a few per effect, each giving every
// control port a value within the catalogue's range.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <span>
#include <string>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"

namespace ostrana::lv2::testing {

namespace {

constexpr const char* kLv2 = "http://lv2plug.in/ns/lv2core#";
constexpr const char* kPresets = "http://lv2plug.in/ns/ext/presets#";
constexpr const char* kRdfs = "http://www.w3.org/2000/01/rdf-schema#";

class PluginPresets : public ::testing::TestWithParam<ExpectedPlugin> {
  protected:
    BundleWorld world_;

    // Each port value of a preset, by symbol, as numbers.
    std::map<std::string, double> portValues(const LilvNode* preset) {
        std::map<std::string, double> values;
        LilvNodes* ports = lilv_world_find_nodes(world_.world(), preset,
                                                 world_.uri(std::string(kLv2) + "port"), nullptr);
        LILV_FOREACH(nodes, i, ports) {
            const LilvNode* port = lilv_nodes_get(ports, i);
            LilvNode* symbol = lilv_world_get(world_.world(), port,
                                              world_.uri(std::string(kLv2) + "symbol"), nullptr);
            LilvNode* value = lilv_world_get(world_.world(), port,
                                             world_.uri(std::string(kPresets) + "value"), nullptr);
            EXPECT_TRUE(symbol != nullptr && value != nullptr);
            if (symbol != nullptr && value != nullptr) {
                values[lilv_node_as_string(symbol)] = lilv_node_as_float(value);
            }
            lilv_node_free(symbol);
            lilv_node_free(value);
        }
        lilv_nodes_free(ports);
        return values;
    }
};

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST_P(PluginPresets, EachGivesEveryParameterAValueInItsRange) {
    const LilvPlugin* plugin = world_.plugin(GetParam().uri);
    ASSERT_NE(plugin, nullptr);
    LilvNodes* presets =
        lilv_plugin_get_related(plugin, world_.uri(std::string(kPresets) + "Preset"));
    // Today's effects come with two presets each; an effect added later may have none yet.
    const std::set<std::string> withPresets = {"delay", "ping-pong-delay", "chorus", "flanger",
                                               "vibrato"};
    if (withPresets.count(std::string(GetParam().entry->shortName)) != 0) {
        EXPECT_GE(lilv_nodes_size(presets), 2u);
    }
    LILV_FOREACH(nodes, i, presets) {
        const LilvNode* preset = lilv_nodes_get(presets, i);
        SCOPED_TRACE(lilv_node_as_uri(preset));
        lilv_world_load_resource(world_.world(), preset);
        LilvNode* label = lilv_world_get(world_.world(), preset,
                                         world_.uri(std::string(kRdfs) + "label"), nullptr);
        EXPECT_NE(label, nullptr);
        lilv_node_free(label);
        const std::map<std::string, double> values = portValues(preset);
        EXPECT_EQ(values.size(), GetParam().entry->parameters.size());
        for (const auto& parameter : GetParam().entry->parameters) {
            const auto value = values.find(std::string(parameter.name));
            ASSERT_NE(value, values.end()) << parameter.name;
            EXPECT_TRUE(parameter.contains(parameterValueOf(parameter, value->second)))
                << parameter.name << " = " << value->second;
        }
    }
    lilv_nodes_free(presets);
}

// Hosts see exactly the catalogue's presets, under the URIs and labels they always had, each
// port at the preset's value (the default where it names none).
TEST_P(PluginPresets, AreTheCataloguesPresetsWithTheirValues) {
    using extensions::audioeffects::EffectCatalogue;
    using extensions::audioeffects::Preset;
    const LilvPlugin* plugin = world_.plugin(GetParam().uri);
    ASSERT_NE(plugin, nullptr);
    LilvNodes* related =
        lilv_plugin_get_related(plugin, world_.uri(std::string(kPresets) + "Preset"));
    std::map<std::string, const LilvNode*> byUri;
    LILV_FOREACH(nodes, i, related) {
        const LilvNode* preset = lilv_nodes_get(related, i);
        byUri[lilv_node_as_uri(preset)] = preset;
    }
    const std::span<const Preset> expected =
        EffectCatalogue::presetsOf(GetParam().entry->shortName);
    EXPECT_EQ(byUri.size(), expected.size());
    for (const Preset& preset : expected) {
        const std::string uri = "https://dravolt.com/lv2/ostrana-effects/presets/" +
                                std::string(preset.nodeType) + "-" + std::string(preset.name);
        SCOPED_TRACE(uri);
        const auto found = byUri.find(uri);
        ASSERT_NE(found, byUri.end());
        lilv_world_load_resource(world_.world(), found->second);
        LilvNode* label = lilv_world_get(world_.world(), found->second,
                                         world_.uri(std::string(kRdfs) + "label"), nullptr);
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(lilv_node_as_string(label), std::string(preset.displayName));
        lilv_node_free(label);
        const std::map<std::string, double> values = portValues(found->second);
        for (const auto& parameter : GetParam().entry->parameters) {
            const auto value = values.find(std::string(parameter.name));
            ASSERT_NE(value, values.end()) << parameter.name;
            EXPECT_EQ(parameterValueOf(parameter, value->second), preset.valueFor(parameter))
                << parameter.name << " = " << value->second;
        }
    }
    lilv_nodes_free(related);
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginPresets, ::testing::ValuesIn(expectedPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
