#include "PluginList.h"

#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "NoteDivision.h"

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeTypeEntry;

// The plug-ins made for each node type: (channels, inputs), in the order they are listed.
struct Layout {
    unsigned int channels;
    unsigned int inputs;
};
constexpr Layout kLayouts[] = {{2, 2}, {1, 1}, {2, 1}};

// A delay's own controls for tempo sync; the time port follows them.
void addTempoSync(PluginVariant& variant) {
    variant.tempoSync = true;
    variant.controls.push_back(ControlPort::toggle(
        "sync", "Tempo sync",
        "On, the delay time follows the host's tempo at the chosen division, once the host has "
        "sent one; off, the delay time control sets it.",
        false));
    variant.controls.push_back(ControlPort::choice(
        "division", "Division",
        "The note value the delay time follows when synced to the host's tempo.",
        static_cast<unsigned int>(NoteDivisions::all().size()),
        static_cast<unsigned int>(NoteDivisions::defaultIndex())));
}

PluginVariant makeVariant(const NodeTypeEntry& entry, Layout layout) {
    PluginVariant variant;
    variant.entry = &entry;
    variant.channels = layout.channels;
    variant.inputs = layout.inputs;
    variant.typeName = entry.typeName();
    variant.uri = PluginList::uriOf(entry.shortName, layout.channels, layout.inputs);
    const char* suffix = layout.channels == 1 ? " (mono)"
                         : layout.inputs == 1 ? " (mono to stereo)"
                                              : "";
    variant.name = "Ostrana " + entry.displayName() + suffix;
    for (const auto& parameter : entry.parameters) {
        variant.controls.push_back(ControlPort::of(parameter));
        if (parameter.name == PluginList::kGlide) {
            variant.controls.back().defaultValue = PluginList::kGlideDefaultMs;
        }
    }
    if (entry.findParameter(PluginList::kDelayTime) != nullptr) addTempoSync(variant);
    return variant;
}

bool makesPlugin(const NodeTypeEntry& entry, Layout layout) {
    if (!entry.acceptsChannels(layout.channels)) return false;
    return layout.inputs == layout.channels || entry.widensMono;
}

std::vector<PluginVariant> makePlugins() {
    std::vector<PluginVariant> plugins;
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        for (Layout layout : kLayouts) {
            if (makesPlugin(entry, layout)) plugins.push_back(makeVariant(entry, layout));
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

std::string PluginList::uriOf(std::string_view shortName, unsigned int channels,
                              unsigned int inputs) {
    std::string uri(kProjectUri);
    uri += '/';
    uri += shortName;
    if (inputs == 1) uri += channels == 1 ? "-mono" : "-mono-stereo";
    return uri;
}

}  // namespace ostrana::lv2
