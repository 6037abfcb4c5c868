#include "PluginList.h"

#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeTypeEntry;

// The channel counts a plug-in is made for, in the order they are listed.
constexpr unsigned int kChannelCounts[] = {2, 1};

PluginVariant makeVariant(const NodeTypeEntry& entry, unsigned int channels) {
    PluginVariant variant;
    variant.entry = &entry;
    variant.channels = channels;
    variant.typeName = entry.typeName();
    variant.uri = PluginList::uriOf(entry.shortName, channels);
    variant.name = "Ostrana " + entry.displayName() + (channels == 1 ? " (mono)" : "");
    for (const auto& parameter : entry.parameters) {
        variant.controls.push_back(ControlPort::of(parameter));
    }
    return variant;
}

std::vector<PluginVariant> makePlugins() {
    std::vector<PluginVariant> plugins;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        for (unsigned int channels : kChannelCounts) {
            if (entry.acceptsChannels(channels)) plugins.push_back(makeVariant(entry, channels));
        }
    }
    return plugins;
}

}  // namespace

std::span<const PluginVariant> PluginList::plugins() {
    static const std::vector<PluginVariant> plugins = makePlugins();
    return plugins;
}

const PluginVariant* PluginList::find(std::string_view uri) {
    for (const PluginVariant& plugin : plugins()) {
        if (plugin.uri == uri) return &plugin;
    }
    return nullptr;
}

std::string PluginList::uriOf(std::string_view shortName, unsigned int channels) {
    std::string uri(kProjectUri);
    uri += '/';
    uri += shortName;
    if (channels == 1) uri += "-mono";
    return uri;
}

}  // namespace ostrana::lv2
