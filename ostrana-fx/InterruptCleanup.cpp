#include "InterruptCleanup.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

namespace ostrana::fx {

namespace {

// What the handler reads: plain storage, since a handler may call only async-signal-safe
// functions and must not touch std::string.
constexpr std::size_t kLongestPath = 4096;
char trackedPath[kLongestPath];
volatile std::sig_atomic_t tracking = 0;
bool handlersInstalled = false;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void removeTrackedFileAndResignal(int signalNumber) {
    if (tracking != 0) unlink(trackedPath);
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

}  // namespace

void InterruptCleanup::installHandlers() {
    for (int signalNumber : kSignals) {
        struct sigaction current {};
        sigaction(signalNumber, nullptr, &current);
        if (current.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = removeTrackedFileAndResignal;
        sigemptyset(&action.sa_mask);
        sigaction(signalNumber, &action, nullptr);
    }
    handlersInstalled = true;
}

void InterruptCleanup::track(const std::string& path) {
    tracking = 0;
    if (path.size() >= kLongestPath) return;
    std::memcpy(trackedPath, path.c_str(), path.size() + 1);
    if (!handlersInstalled) installHandlers();
    tracking = 1;
}

void InterruptCleanup::release() {
    tracking = 0;
}

}  // namespace ostrana::fx
