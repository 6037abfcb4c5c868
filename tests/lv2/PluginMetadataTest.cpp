// What hosts read about each plug-in beyond its ports' ranges, through lilv: logarithmic
// sliders for times and frequencies, the sweep width in milliseconds, port groups, literal
// types, units, descriptions, the maintainer, an even minor version, and the presets file.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"
#include "PluginFixture.h"

namespace ostrana::lv2::testing {

namespace {

using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterUnit;

const std::string kLv2 = "http://lv2plug.in/ns/lv2core#";
const std::string kPg = "http://lv2plug.in/ns/ext/port-groups#";
const std::string kPprop = "http://lv2plug.in/ns/ext/port-props#";
const std::string kPset = "http://lv2plug.in/ns/ext/presets#";
const std::string kRdfs = "http://www.w3.org/2000/01/rdf-schema#";
const std::string kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
const std::string kDoap = "http://usefulinc.com/ns/doap#";

class PluginMetadata : public PluginFixture {
  protected:
    // The one value of a port's property, or nullptr; the caller frees it.
    LilvNode* portValue(const LilvPort* found, const std::string& property) {
        return lilv_port_get(plugin_, found, world_.uri(property));
    }
    // The one value of the plug-in's property, or nullptr; the caller frees it.
    LilvNode* pluginValue(const std::string& property) {
        LilvNodes* values = lilv_plugin_get_value(plugin_, world_.uri(property));
        LilvNode* first = lilv_nodes_size(values) == 1
                              ? lilv_node_duplicate(lilv_nodes_get_first(values))
                              : nullptr;
        lilv_nodes_free(values);
        return first;
    }
    bool isA(const LilvNode* subject, const std::string& type) {
        return lilv_world_ask(world_.world(), subject, world_.uri(kRdf + "type"), world_.uri(type));
    }
    std::vector<const LilvPort*> audioPorts(bool input) {
        std::vector<const LilvPort*> ports;
        for (std::uint32_t index = 0; index < lilv_plugin_get_num_ports(plugin_); ++index) {
            const LilvPort* found = lilv_plugin_get_port_by_index(plugin_, index);
            if (lilv_port_is_a(plugin_, found, world_.uri(kLv2 + "AudioPort")) &&
                lilv_port_is_a(plugin_, found,
                               world_.uri(kLv2 + (input ? "InputPort" : "OutputPort")))) {
                ports.push_back(found);
            }
        }
        return ports;
    }
};

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST_P(PluginMetadata, TimesAndFrequenciesStartingAboveZeroSlideLogarithmically) {
    for (const NodeParameter& parameter : GetParam().entry->parameters) {
        SCOPED_TRACE(std::string(parameter.name));
        const LilvPort* found = port(std::string(parameter.name));
        ASSERT_NE(found, nullptr);
        const bool logarithmic =
            lilv_port_has_property(plugin_, found, world_.uri(kPprop + "logarithmic"));
        const double minimum =
            std::visit([](auto v) { return static_cast<double>(v); }, parameter.minimum);
        const bool timeOrFrequency = parameter.unit != ParameterUnit::None;
        EXPECT_EQ(logarithmic, timeOrFrequency && minimum > 0);
        // Every frequency range starts above zero: every frequency is logarithmic.
        if (parameter.unit == ParameterUnit::Hertz) {
            EXPECT_TRUE(logarithmic);
        }
    }
}

TEST_P(PluginMetadata, ControlNumbersAreLiteralsOfTheTypeTheirKindWants) {
    for (const NodeParameter& parameter : GetParam().entry->parameters) {
        SCOPED_TRACE(std::string(parameter.name));
        const LilvPort* found = port(std::string(parameter.name));
        ASSERT_NE(found, nullptr);
        for (const char* property : {"default", "minimum", "maximum"}) {
            SCOPED_TRACE(property);
            LilvNode* value = portValue(found, kLv2 + property);
            ASSERT_NE(value, nullptr);
            switch (parameter.kind) {
                case ParameterKind::RealNumber:
                    EXPECT_TRUE(lilv_node_is_float(value));
                    EXPECT_FALSE(lilv_node_is_int(value));
                    break;
                case ParameterKind::WholeNumber:
                    EXPECT_TRUE(lilv_node_is_int(value));
                    break;
                case ParameterKind::Switch:
                    // An integer 0 or 1, as LV2 ranges lv2:enabled.
                    EXPECT_TRUE(lilv_node_is_int(value));
                    EXPECT_TRUE(lilv_node_as_int(value) == 0 || lilv_node_as_int(value) == 1);
                    break;
            }
            lilv_node_free(value);
        }
    }
}

TEST_P(PluginMetadata, SweepWidthIsShownInMillisecondsAndGivesTheNodeTheCatalogueValue) {
    bool seen = false;
    for (const NodeParameter& parameter : GetParam().entry->parameters) {
        if (parameter.unit != ParameterUnit::Seconds) continue;
        seen = true;
        SCOPED_TRACE(std::string(parameter.name));
        const LilvPort* found = port(std::string(parameter.name));
        ASSERT_NE(found, nullptr);
        LilvNode* unit = portValue(found, "http://lv2plug.in/ns/extensions/units#unit");
        ASSERT_NE(unit, nullptr);
        EXPECT_EQ(std::string(lilv_node_as_uri(unit)), "http://lv2plug.in/ns/extensions/units#ms");
        lilv_node_free(unit);
        LilvNode* comment = portValue(found, kRdfs + "comment");
        ASSERT_NE(comment, nullptr);
        EXPECT_NE(std::string(lilv_node_as_string(comment)).find("milliseconds"),
                  std::string::npos);
        lilv_node_free(comment);
        // The plug-in divides the port's value by 1000 in float: each default and end of
        // range gives the catalogue's float exactly.
        const std::pair<const char*, const extensions::audioeffects::ParameterValue*> ends[] = {
            {"default", &parameter.defaultValue},
            {"minimum", &parameter.minimum},
            {"maximum", &parameter.maximum}};
        for (const auto& [property, expected] : ends) {
            LilvNode* value = portValue(found, kLv2 + property);
            ASSERT_NE(value, nullptr);
            const float milliseconds = lilv_node_as_float(value);
            EXPECT_EQ(milliseconds / 1000.0f, std::get<float>(*expected)) << property;
            lilv_node_free(value);
        }
    }
    const bool swept = GetParam().entry->findParameter("sweepWidth") != nullptr;
    EXPECT_EQ(seen, swept);
}

TEST_P(PluginMetadata, AudioPortsFormTheMainInputAndOutputGroups) {
    const ExpectedPlugin& expected = GetParam();
    for (bool input : {true, false}) {
        SCOPED_TRACE(input ? "input" : "output");
        LilvNode* group = pluginValue(kPg + (input ? "mainInput" : "mainOutput"));
        ASSERT_NE(group, nullptr);
        const std::vector<const LilvPort*> ports = audioPorts(input);
        const unsigned int count = input ? expected.inputs() : expected.channels;
        ASSERT_EQ(ports.size(), count);
        EXPECT_TRUE(isA(group, kPg + (count == 2 ? "StereoGroup" : "MonoGroup")));
        EXPECT_TRUE(isA(group, kPg + (input ? "InputGroup" : "OutputGroup")));
        const char* designations[2][2] = {{"center", ""}, {"left", "right"}};
        for (std::size_t channel = 0; channel < ports.size(); ++channel) {
            LilvNode* portGroup = portValue(ports[channel], kPg + "group");
            ASSERT_NE(portGroup, nullptr);
            EXPECT_TRUE(lilv_node_equals(portGroup, group));
            lilv_node_free(portGroup);
            LilvNode* designation = portValue(ports[channel], kLv2 + "designation");
            ASSERT_NE(designation, nullptr);
            EXPECT_EQ(std::string(lilv_node_as_uri(designation)),
                      kPg + designations[count - 1][channel]);
            lilv_node_free(designation);
        }
        lilv_node_free(group);
    }
}

TEST_P(PluginMetadata, EveryPortHasADescription) {
    for (std::uint32_t index = 0; index < lilv_plugin_get_num_ports(plugin_); ++index) {
        LilvNode* comment =
            portValue(lilv_plugin_get_port_by_index(plugin_, index), kRdfs + "comment");
        ASSERT_NE(comment, nullptr) << "port " << index;
        EXPECT_TRUE(lilv_node_is_string(comment));
        EXPECT_GT(std::string(lilv_node_as_string(comment)).size(), 4u);
        lilv_node_free(comment);
    }
}

TEST_P(PluginMetadata, DescribesItselfAndItsMaintainerAndIsAReleaseVersion) {
    LilvNode* shortDescription = pluginValue(kDoap + "shortdesc");
    ASSERT_NE(shortDescription, nullptr);
    EXPECT_NE(
        std::string(lilv_node_as_string(shortDescription)).find(GetParam().entry->displayName()),
        std::string::npos);
    lilv_node_free(shortDescription);
    LilvNode* name = lilv_plugin_get_author_name(plugin_);
    LilvNode* mail = lilv_plugin_get_author_email(plugin_);
    LilvNode* home = lilv_plugin_get_author_homepage(plugin_);
    ASSERT_TRUE(name != nullptr && mail != nullptr && home != nullptr);
    EXPECT_EQ(std::string(lilv_node_as_uri(mail)).rfind("mailto:", 0), 0u);
    EXPECT_EQ(std::string(lilv_node_as_uri(home)).rfind("https://", 0), 0u);
    lilv_node_free(name);
    lilv_node_free(mail);
    lilv_node_free(home);
    LilvNode* minor = pluginValue(kLv2 + "minorVersion");
    ASSERT_NE(minor, nullptr);
    ASSERT_TRUE(lilv_node_is_int(minor));
    EXPECT_EQ(lilv_node_as_int(minor) % 2, 0) << "an odd minor version reads as unstable";
    EXPECT_GT(lilv_node_as_int(minor), 0);
    lilv_node_free(minor);
}

TEST_P(PluginMetadata, ThePresetsFileIsSeenAlsoAndItsValuesAreFloats) {
    LilvNodes* seeAlso = lilv_world_find_nodes(world_.world(), lilv_plugin_get_uri(plugin_),
                                               world_.uri(kRdfs + "seeAlso"), nullptr);
    bool presetsSeen = false;
    LILV_FOREACH(nodes, i, seeAlso) {
        const std::string uri = lilv_node_as_uri(lilv_nodes_get(seeAlso, i));
        presetsSeen = presetsSeen || uri.ends_with("/presets.ttl");
    }
    lilv_nodes_free(seeAlso);
    // An effect the catalogue gives no presets has none to see.
    const std::size_t catalogued =
        extensions::audioeffects::EffectCatalogue::presetsOf(GetParam().entry->shortName).size();
    if (catalogued > 0) {
        EXPECT_TRUE(presetsSeen);
    }

    LilvNodes* presets = lilv_plugin_get_related(plugin_, world_.uri(kPset + "Preset"));
    EXPECT_EQ(lilv_nodes_size(presets), catalogued);
    LILV_FOREACH(nodes, i, presets) {
        const LilvNode* preset = lilv_nodes_get(presets, i);
        SCOPED_TRACE(lilv_node_as_uri(preset));
        lilv_world_load_resource(world_.world(), preset);
        LilvNodes* ports =
            lilv_world_find_nodes(world_.world(), preset, world_.uri(kLv2 + "port"), nullptr);
        EXPECT_EQ(lilv_nodes_size(ports), GetParam().entry->parameters.size());
        LILV_FOREACH(nodes, j, ports) {
            const LilvNode* presetPort = lilv_nodes_get(ports, j);
            LilvNode* symbol =
                lilv_world_get(world_.world(), presetPort, world_.uri(kLv2 + "symbol"), nullptr);
            LilvNode* value =
                lilv_world_get(world_.world(), presetPort, world_.uri(kPset + "value"), nullptr);
            ASSERT_TRUE(symbol != nullptr && value != nullptr);
            EXPECT_TRUE(lilv_node_is_float(value) && !lilv_node_is_int(value))
                << lilv_node_as_string(symbol);
            // A time in milliseconds is a whole number of them: divided by 1000 in float it
            // is the nearest float to its value in seconds, as the catalogue would hold it.
            const NodeParameter* parameter =
                GetParam().entry->findParameter(lilv_node_as_string(symbol));
            ASSERT_NE(parameter, nullptr);
            if (portUnitOf(*parameter).perParameterUnit != 1.0f) {
                const float milliseconds = lilv_node_as_float(value);
                EXPECT_EQ(std::round(milliseconds), milliseconds);
                EXPECT_EQ(milliseconds / 1000.0f, static_cast<float>(milliseconds / 1000.0));
            }
            lilv_node_free(symbol);
            lilv_node_free(value);
        }
        lilv_nodes_free(ports);
    }
    lilv_nodes_free(presets);
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginMetadata, ::testing::ValuesIn(expectedPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
