#include "PluginDescriptors.h"

#include <exception>
#include <vector>

#include "EffectPlugin.h"
#include "PluginList.h"

namespace ostrana::lv2 {

namespace {

EffectPlugin* pluginOf(LV2_Handle instance) {
    return static_cast<EffectPlugin*>(instance);
}

const std::vector<LV2_Descriptor>& descriptors();

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double sampleRate,
                       const char* /*bundlePath*/, const LV2_Feature* const* features) {
    try {
        const auto index = static_cast<std::size_t>(descriptor - descriptors().data());
        return EffectPlugin::create(PluginList::plugins()[index], sampleRate, features).release();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void connectPort(LV2_Handle instance, std::uint32_t port, void* data) {
    pluginOf(instance)->connectPort(port, data);
}

void activate(LV2_Handle instance) {
    try {
        pluginOf(instance)->activate();
    } catch (const std::exception&) {
        // The node could not be made afresh; the instance keeps the one it has.
    }
}

void run(LV2_Handle instance, std::uint32_t sampleCount) {
    pluginOf(instance)->run(sampleCount);
}

void cleanup(LV2_Handle instance) {
    delete pluginOf(instance);
}

const void* extensionData(const char* /*uri*/) {
    return nullptr;
}

std::vector<LV2_Descriptor> makeDescriptors() {
    std::vector<LV2_Descriptor> table;
    for (const PluginVariant& plugin : PluginList::plugins()) {
        table.push_back(LV2_Descriptor{plugin.uri.c_str(), instantiate, connectPort, activate, run,
                                       nullptr, cleanup, extensionData});
    }
    return table;
}

const std::vector<LV2_Descriptor>& descriptors() {
    static const std::vector<LV2_Descriptor> table = makeDescriptors();
    return table;
}

}  // namespace

const LV2_Descriptor* PluginDescriptors::at(std::uint32_t index) {
    const std::vector<LV2_Descriptor>& table = descriptors();
    return index < table.size() ? &table[index] : nullptr;
}

}  // namespace ostrana::lv2
