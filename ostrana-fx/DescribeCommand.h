#pragma once

#include <ostream>
#include <string>

namespace ostrana::fx {

// `ostrana-fx describe TYPE`: the node type's descriptor as indented JSON.
class DescribeCommand {
  public:
    // Throws a usage CommandError listing the known types when type is unknown.
    static void run(const std::string& type, std::ostream& out);
};

}  // namespace ostrana::fx
