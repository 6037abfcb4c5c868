#pragma once

#include <memory>
#include <string>

#include "ToolProcess.h"

namespace ostrana::lv2::testing {

// A JACK server of its own for a test: jackd on the dummy backend at 48 kHz with periods of 256
// frames, under a name that no other test's server uses while this one runs. Stopped (and killed
// if need be) on destruction.
//
// JACK keeps the names of the running servers in a table of eight entries in shared memory
// (/dev/shm/jack-shm-registry). A server that is killed (a test that timed out, a run stopped
// halfway) leaves its entry behind, and JACK frees that entry only when a server of the same
// name starts again. With a new name for every server, such entries would add up until no JACK
// server could start on the machine at all ("Too many servers already active"). So the servers
// take their names from a few fixed ones, each held under a lock while its server runs; a name
// left behind by a killed server is taken again, and its entry freed, by the next test.
class JackServer {
  public:
    JackServer();
    ~JackServer();
    JackServer(const JackServer&) = delete;
    JackServer& operator=(const JackServer&) = delete;

    const std::string& name() const { return name_; }
    // The environment a JACK program needs to reach this server.
    std::vector<std::string> clientEnvironment() const;
    // Whether jackd is still running.
    bool running() { return process_->running(); }
    // Stops jackd; its exit and its output.
    ToolResult stop();

  private:
    std::string name_;
    int nameLock_ = -1;
    std::unique_ptr<ToolProcess> process_;
};

}  // namespace ostrana::lv2::testing
