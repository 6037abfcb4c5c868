#include "JackServer.h"

#include <unistd.h>

#include <csignal>

namespace ostrana::lv2::testing {

JackServer::JackServer() : name_("ostrana-lv2-test-" + std::to_string(getpid())) {
    process_ = std::make_unique<ToolProcess>(
        std::vector<std::string>{"jackd", "--name", name_, "--no-realtime", "-d", "dummy", "-r",
                                 "48000", "-p", "256"},
        std::vector<std::string>{"JACK_NO_AUDIO_RESERVATION=1"});
}

JackServer::~JackServer() {
    if (process_->running()) stop();
}

std::vector<std::string> JackServer::clientEnvironment() const {
    return {"JACK_DEFAULT_SERVER=" + name_, "JACK_NO_AUDIO_RESERVATION=1",
            "JACK_NO_START_SERVER=1"};
}

ToolResult JackServer::stop() {
    return process_->stop(SIGTERM, 10);
}

}  // namespace ostrana::lv2::testing
