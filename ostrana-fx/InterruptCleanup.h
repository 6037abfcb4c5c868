#pragma once

#include <string>

namespace ostrana::fx {

// Removes the temporary output file being written when the program is interrupted (SIGINT,
// SIGTERM, SIGHUP), then lets the signal end the program as it would have. One file is
// tracked at a time: ostrana-fx writes its outputs one after another.
class InterruptCleanup {
  public:
    // Starts tracking path; installs the signal handlers on first use. Signals that are
    // ignored (as under nohup) stay ignored.
    static void track(const std::string& path);
    // Stops tracking: call before the file is renamed into place or removed.
    static void release();

  private:
    static void installHandlers();
};

}  // namespace ostrana::fx
