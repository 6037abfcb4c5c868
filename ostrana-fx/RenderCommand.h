#pragma once

#include <ostream>

#include "RenderOptions.h"

namespace ostrana::fx {

// `ostrana-fx render`: reads a sound file, runs it through a chain of nodes and writes the
// result. OUT appears only once it is complete; on any error it is left as it was.
class RenderCommand {
  public:
    // Throws a CommandError for usage errors and failures; prints a summary line to out.
    static void run(const RenderOptions& options, std::ostream& out);
};

}  // namespace ostrana::fx
