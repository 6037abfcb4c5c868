#pragma once

#include <ostream>
#include <string>

#include "RenderOptions.h"

namespace ostrana::fx {

// `ostrana-fx render`: runs one input file through the node chain into OUT, or several
// inputs into --output-dir, one output per input under its own name.
class RenderCommand {
  public:
    // Throws a CommandError: a usage error for anything known before audio is read (a bad
    // chain, a parameter out of range, a format that cannot be written, channels no node
    // takes), a failure otherwise. In a batch, each failing input is reported on errors and
    // the rest go on; the error thrown at the end says how many failed.
    static void run(const RenderOptions& options, std::ostream& out, std::ostream& errors);

  private:
    static void renderOne(const RenderOptions& options, const std::string& inputPath,
                          const std::string& outputPath, std::ostream& out, std::ostream& errors);
    // The gain that brings the render's peak to --normalize's level, from a first pass.
    static float normalizingGain(const RenderOptions& options, const std::string& inputPath,
                                 const TailLength& tail, std::ostream& errors);
};

}  // namespace ostrana::fx
