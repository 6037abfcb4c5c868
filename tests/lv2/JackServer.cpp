#include "JackServer.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace ostrana::lv2::testing {

namespace {

// How many servers of these tests may run at once, on the machine, for one user.
constexpr int kNames = 4;
constexpr auto kWaitForAName = std::chrono::seconds(120);
constexpr auto kWaitForTheName = std::chrono::seconds(15);
constexpr auto kSettleTime = std::chrono::milliseconds(500);

std::string serverName(int index) {
    return "ostrana-lv2-test-" + std::to_string(index);
}

std::string lockPath(int index) {
    return (std::filesystem::temp_directory_path() /
            ("ostrana-lv2-jack-" + std::to_string(getuid()) + "-" + std::to_string(index) +
             ".lock"))
        .string();
}

// Takes the first free name, waiting while all are in use; the descriptor that holds its lock.
int lockAName(std::string& name) {
    const auto deadline = std::chrono::steady_clock::now() + kWaitForAName;
    do {
        for (int index = 0; index < kNames; ++index) {
            const int descriptor =
                open(lockPath(index).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            if (descriptor < 0) continue;
            if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
                name = serverName(index);
                return descriptor;
            }
            close(descriptor);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    } while (std::chrono::steady_clock::now() < deadline);
    throw std::runtime_error("no JACK server name free for " +
                             std::to_string(kWaitForAName.count()) +
                             " s: " + std::to_string(kNames) + " test servers running");
}

}  // namespace

JackServer::JackServer() : nameLock_(lockAName(name_)) {
    // A server of the same name that a killed test left behind takes a moment to end, and
    // until then jackd refuses the name and exits at once: start it again until it stays up.
    const auto deadline = std::chrono::steady_clock::now() + kWaitForTheName;
    while (true) {
        process_ = std::make_unique<ToolProcess>(
            std::vector<std::string>{"jackd", "--name", name_, "--no-realtime", "-d", "dummy", "-r",
                                     "48000", "-p", "256"},
            std::vector<std::string>{"JACK_NO_AUDIO_RESERVATION=1"});
        const auto settled = std::chrono::steady_clock::now() + kSettleTime;
        while (process_->running() && std::chrono::steady_clock::now() < settled) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        if (process_->running() || std::chrono::steady_clock::now() >= deadline) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

JackServer::~JackServer() {
    if (process_->running()) stop();
    process_.reset();
    close(nameLock_);
}

std::vector<std::string> JackServer::clientEnvironment() const {
    return {"JACK_DEFAULT_SERVER=" + name_, "JACK_NO_AUDIO_RESERVATION=1",
            "JACK_NO_START_SERVER=1"};
}

ToolResult JackServer::stop() {
    return process_->stop(SIGTERM, 10);
}

}  // namespace ostrana::lv2::testing
