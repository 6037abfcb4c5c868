#pragma once

#include <ostream>

namespace ostrana::fx {

// `ostrana-fx list`: every registered extension with its node types, in registration order.
class ListCommand {
  public:
    static void run(std::ostream& out);
};

}  // namespace ostrana::fx
