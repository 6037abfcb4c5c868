#pragma once

#include <ostream>
#include <string>

namespace ostrana::fx {

// `ostrana-fx describe TYPE`: the node type's descriptor as indented JSON.
class DescribeCommand {
  public:
    // type is a short name or a fully qualified type name, in any case. Throws a usage
    // CommandError listing the known types when it names none.
    static void run(const std::string& type, std::ostream& out);
};

}  // namespace ostrana::fx
