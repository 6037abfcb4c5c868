#pragma once

#include <lv2/core/lv2.h>

#include <cstdint>

namespace ostrana::lv2 {

// The binary's LV2 descriptors, one per plug-in of PluginList in the same order, and the C
// callbacks through which a host drives an EffectPlugin. Callbacks let no exception out.
class PluginDescriptors {
  public:
    // The descriptor at index, or nullptr past the last (what lv2_descriptor answers).
    static const LV2_Descriptor* at(std::uint32_t index);
};

}  // namespace ostrana::lv2
