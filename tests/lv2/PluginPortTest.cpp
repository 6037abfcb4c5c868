// What hosts read from the bundle's Turtle, through lilv: every plug-in of the catalogue, its
// class, features, and each port with the catalogue's symbol, range, default, unit and kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"
#include "PluginFixture.h"

namespace ostrana::lv2::testing {

namespace {

using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterUnit;

constexpr const char* kLv2 = "http://lv2plug.in/ns/lv2core#";
constexpr const char* kUnits = "http://lv2plug.in/ns/extensions/units#";

std::string lv2(const char* name) {
    return std::string(kLv2) + name;
}

std::string unitUri(ParameterUnit unit) {
    switch (unit) {
        case ParameterUnit::Milliseconds:
            return std::string(kUnits) + "ms";
        case ParameterUnit::Seconds:
            return std::string(kUnits) + "s";
        case ParameterUnit::Hertz:
            return std::string(kUnits) + "hz";
        case ParameterUnit::Decibels:
            return std::string(kUnits) + "db";
        case ParameterUnit::Degrees:
            return std::string(kUnits) + "degree";
        case ParameterUnit::None:
            break;
    }
    return "";
}

TEST(PluginList, HoldsAStereoPluginPerNodeTypeAndAMonoOnePerOneChannelType) {
    BundleWorld world;
    std::vector<std::string> found = world.pluginUris();
    std::vector<std::string> wanted;
    for (const ExpectedPlugin& plugin : expectedPlugins()) wanted.push_back(plugin.uri);
    std::sort(found.begin(), found.end());
    std::sort(wanted.begin(), wanted.end());
    EXPECT_FALSE(wanted.empty());
    EXPECT_EQ(found, wanted);
}

class PluginData : public PluginFixture {
  protected:
    bool hasProperty(const LilvPort* port, const char* property) {
        return lilv_port_has_property(plugin_, port, world_.uri(lv2(property)));
    }
};

std::string pluginName(const ::testing::TestParamInfo<ExpectedPlugin>& info) {
    return info.param.label();
}

TEST_P(PluginData, HasTheClassOfItsEffectAndNeedsNoFeature) {
    // An effect not named here is a plain lv2:Plugin until it is given a class of its own.
    const std::map<std::string, std::string> classes = {
        {"delay", "DelayPlugin"},       {"ping-pong-delay", "DelayPlugin"},
        {"chorus", "ChorusPlugin"},     {"flanger", "FlangerPlugin"},
        {"vibrato", "ModulatorPlugin"},
    };
    const auto named = classes.find(std::string(GetParam().entry->shortName));
    const std::string expectedClass = named == classes.end() ? "Plugin" : named->second;
    const LilvNode* pluginClass = lilv_plugin_class_get_uri(lilv_plugin_get_class(plugin_));
    EXPECT_EQ(lilv_node_as_uri(pluginClass), lv2(expectedClass.c_str()));
    LilvNodes* required = lilv_plugin_get_required_features(plugin_);
    EXPECT_EQ(lilv_nodes_size(required), 0u);
    lilv_nodes_free(required);
    LilvNodes* optional = lilv_plugin_get_optional_features(plugin_);
    EXPECT_TRUE(lilv_nodes_contains(optional, world_.uri(lv2("hardRTCapable"))));
    lilv_nodes_free(optional);
    EXPECT_FALSE(lilv_plugin_has_feature(plugin_, world_.uri(lv2("inPlaceBroken"))));
    LilvNode* name = lilv_plugin_get_name(plugin_);
    ASSERT_NE(name, nullptr);
    EXPECT_NE(std::string(lilv_node_as_string(name)).find(GetParam().entry->displayName()),
              std::string::npos);
    lilv_node_free(name);
}

TEST_P(PluginData, HasAnAudioPortPerChannelEachWayAndAControlPortPerParameter) {
    const ExpectedPlugin& expected = GetParam();
    EXPECT_EQ(lilv_plugin_get_num_ports(plugin_), expected.portCount());
    const LilvNode* audio = world_.uri(lv2("AudioPort"));
    const LilvNode* input = world_.uri(lv2("InputPort"));
    const LilvNode* output = world_.uri(lv2("OutputPort"));
    const LilvNode* control = world_.uri(lv2("ControlPort"));
    EXPECT_EQ(lilv_plugin_get_num_ports_of_class(plugin_, audio, input, nullptr),
              expected.inputs());
    EXPECT_EQ(lilv_plugin_get_num_ports_of_class(plugin_, audio, output, nullptr),
              expected.channels);
    EXPECT_EQ(lilv_plugin_get_num_ports_of_class(plugin_, control, input, nullptr),
              expected.controlInputs());
}

TEST_P(PluginData, ControlPortsCarryTheCatalogueRangeDefaultUnitAndKind) {
    const LilvPort* enabledPort = lilv_plugin_get_port_by_designation(
        plugin_, world_.uri(lv2("InputPort")), world_.uri(lv2("enabled")));
    for (const NodeParameter& parameter : GetParam().entry->parameters) {
        SCOPED_TRACE(std::string(parameter.name));
        const LilvPort* found = port(std::string(parameter.name));
        ASSERT_NE(found, nullptr);
        LilvNode* defaultValue = nullptr;
        LilvNode* minimum = nullptr;
        LilvNode* maximum = nullptr;
        lilv_port_get_range(plugin_, found, &defaultValue, &minimum, &maximum);
        ASSERT_TRUE(defaultValue != nullptr && minimum != nullptr && maximum != nullptr);
        // Read as a host reads them, the numbers give the catalogue's values exactly.
        // (A parameter in seconds is shown in milliseconds; the glide starts at 50 ms.)
        EXPECT_EQ(lilv_node_as_float(defaultValue), portDefaultOf(parameter));
        if (parameter.name != "glide") {
            EXPECT_EQ(parameterValueOf(parameter, lilv_node_as_float(defaultValue)),
                      parameter.defaultValue);
        }
        EXPECT_EQ(parameterValueOf(parameter, lilv_node_as_float(minimum)), parameter.minimum);
        EXPECT_EQ(parameterValueOf(parameter, lilv_node_as_float(maximum)), parameter.maximum);
        lilv_node_free(defaultValue);
        lilv_node_free(minimum);
        lilv_node_free(maximum);

        LilvNodes* units =
            lilv_port_get_value(plugin_, found, world_.uri(std::string(kUnits) + "unit"));
        const ParameterUnit unit = portUnitOf(parameter).unit;
        if (unit == ParameterUnit::None) {
            // A level is a coefficient; a switch has no unit.
            const bool level = parameter.kind == ParameterKind::RealNumber;
            ASSERT_EQ(lilv_nodes_size(units), level ? 1u : 0u);
            if (level) {
                EXPECT_EQ(lilv_node_as_uri(lilv_nodes_get_first(units)),
                          std::string(kUnits) + "coef");
            }
        } else {
            ASSERT_EQ(lilv_nodes_size(units), 1u);
            EXPECT_EQ(lilv_node_as_uri(lilv_nodes_get_first(units)), unitUri(unit));
        }
        lilv_nodes_free(units);
        EXPECT_EQ(hasProperty(found, "integer"), parameter.kind == ParameterKind::WholeNumber);
        EXPECT_EQ(hasProperty(found, "toggled"), parameter.kind == ParameterKind::Switch);
        EXPECT_EQ(found == enabledPort, parameter.name == "enabled");
    }
    EXPECT_NE(enabledPort, nullptr);
}

INSTANTIATE_TEST_SUITE_P(EveryPlugin, PluginData, ::testing::ValuesIn(expectedPlugins()),
                         pluginName);

}  // namespace

}  // namespace ostrana::lv2::testing
