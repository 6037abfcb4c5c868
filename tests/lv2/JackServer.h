#pragma once

#include <memory>
#include <string>

#include "ToolProcess.h"

namespace ostrana::lv2::testing {

// A JACK server of its own for a test: jackd on the dummy backend at 48 kHz with periods of 256
// frames, under a name no other server on the machine uses. Stopped (and killed if need be) on
// destruction.
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
    std::unique_ptr<ToolProcess> process_;
};

}  // namespace ostrana::lv2::testing
