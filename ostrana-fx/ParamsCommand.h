#pragma once

#include <ostream>
#include <string>

namespace ostrana::fx {

// `ostrana-fx params NODE`: every parameter of a node type, from the catalogue (name, kind,
// default, range, unit, description), as a table for people or as JSON.
class ParamsCommand {
  public:
    // Throws a usage CommandError for an unknown node type.
    static void run(const std::string& nodeType, bool json, std::ostream& out);
};

}  // namespace ostrana::fx
