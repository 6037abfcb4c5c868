#pragma once

#include <ostream>
#include <string>

namespace ostrana::fx {

// `ostrana-fx stats FILE`: the levels of a sound file, as a table or JSON: length, peak, RMS,
// DC offset and clipped samples (at or beyond full scale), overall and for each channel.
class StatsCommand {
  public:
    // Throws a failure CommandError when the file cannot be read.
    static void run(const std::string& path, bool json, std::ostream& out);
};

}  // namespace ostrana::fx
