#pragma once

#include <string_view>

namespace ostrana::lv2 {

// The LV2 class of each node type's plug-ins, by the catalogue's short name: a fact of the LV2
// front end, not of the effects.
class PluginClassTable {
  public:
    // The local name in LV2's core vocabulary ("DelayPlugin"); "Plugin", the class of every
    // plug-in, for a node type the table does not know.
    static std::string_view classOf(std::string_view shortName);
};

}  // namespace ostrana::lv2
