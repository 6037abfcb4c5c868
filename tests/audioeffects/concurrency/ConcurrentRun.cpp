#include "audioeffects/concurrency/ConcurrentRun.h"

#include <atomic>
#include <thread>
#include <vector>

namespace ostrana::testing {

namespace {

void waitFor(const std::atomic<bool>& flag) {
    while (!flag.load()) std::this_thread::yield();
}

}  // namespace

ConcurrentRun::Counts ConcurrentRun::run(std::chrono::milliseconds duration,
                                         const AudioStep& audioStep,
                                         const ControlStep& controlStep) {
    std::atomic<bool> started{false};
    std::atomic<bool> stopped{false};
    Counts counts;

    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        waitFor(started);
        std::uint64_t steps = 0;
        while (!stopped.load()) {
            audioStep();
            ++steps;
        }
        counts.audioSteps = steps;
    });
    for (unsigned int thread = 0; thread < kControlThreads; ++thread) {
        threads.emplace_back([&, thread] {
            waitFor(started);
            std::uint64_t steps = 0;
            while (!stopped.load()) {
                controlStep(thread, steps);
                ++steps;
            }
            counts.controlSteps[thread] = steps;
        });
    }

    started.store(true);
    std::this_thread::sleep_for(duration);
    stopped.store(true);
    for (std::thread& thread : threads) thread.join();
    return counts;
}

}  // namespace ostrana::testing
