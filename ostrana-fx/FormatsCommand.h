#pragma once

#include <ostream>

namespace ostrana::fx {

// `ostrana-fx formats`: every extension render can write, with its container and the sample
// formats it holds (for stereo at 48 kHz), the first of them the one taken by default.
class FormatsCommand {
  public:
    static void run(std::ostream& out);
};

}  // namespace ostrana::fx
