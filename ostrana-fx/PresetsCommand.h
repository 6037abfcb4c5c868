#pragma once

#include <ostream>
#include <string>

namespace ostrana::fx {

// `ostrana-fx presets [NODE]`: the catalogue's factory presets, of every node type or of one,
// with their settings as --set takes them, as a table for people or as JSON.
class PresetsCommand {
  public:
    // nodeType empty lists every preset. Throws a usage CommandError for an unknown node type.
    static void run(const std::string& nodeType, bool json, std::ostream& out);
};

}  // namespace ostrana::fx
