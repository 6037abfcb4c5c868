#include "PluginInstance.h"

#include <gtest/gtest.h>

namespace ostrana::lv2::testing {

namespace {

std::string audioSymbol(const char* direction, unsigned int channels, unsigned int channel) {
    if (channels == 1) return direction;
    return std::string(direction) + (channel == 0 ? "_l" : "_r");
}

}  // namespace

std::uint32_t PluginInstance::portIndex(const BundleWorld& world, const LilvPlugin* plugin,
                                        const std::string& symbol) {
    LilvNode* node = lilv_new_string(world.world(), symbol.c_str());
    const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin, node);
    lilv_node_free(node);
    EXPECT_NE(port, nullptr) << "no port " << symbol;
    return port == nullptr ? 0 : lilv_port_get_index(plugin, port);
}

PluginInstance::PluginInstance(const BundleWorld& world, const ExpectedPlugin& expected,
                               double sampleRate)
    : controls_(expected.entry->parameters.size()) {
    const LilvPlugin* plugin = world.plugin(expected.uri);
    if (plugin == nullptr) {
        ADD_FAILURE() << "no plug-in " << expected.uri;
        return;
    }
    for (unsigned int channel = 0; channel < expected.inputs(); ++channel) {
        inputPorts_.push_back(
            portIndex(world, plugin, audioSymbol("in", expected.inputs(), channel)));
    }
    for (unsigned int channel = 0; channel < expected.channels; ++channel) {
        outputPorts_.push_back(
            portIndex(world, plugin, audioSymbol("out", expected.channels, channel)));
    }
    instance_ = lilv_plugin_instantiate(plugin, sampleRate, nullptr);
    EXPECT_NE(instance_, nullptr) << expected.uri << " at " << sampleRate << " Hz";
    for (std::size_t index = 0; index < controls_.size(); ++index) {
        const auto& parameter = expected.entry->parameters[index];
        controls_[index] = portDefaultOf(parameter);
        const std::uint32_t port = portIndex(world, plugin, std::string(parameter.name));
        if (instance_ != nullptr) lilv_instance_connect_port(instance_, port, &controls_[index]);
    }
}

PluginInstance::~PluginInstance() {
    if (instance_ != nullptr) lilv_instance_free(instance_);
}

void PluginInstance::connectAudio(unsigned int channel, float* input, float* output) {
    if (channel < inputPorts_.size()) {
        lilv_instance_connect_port(instance_, inputPorts_[channel], input);
    }
    lilv_instance_connect_port(instance_, outputPorts_[channel], output);
}

}  // namespace ostrana::lv2::testing
