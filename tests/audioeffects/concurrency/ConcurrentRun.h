#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace ostrana::testing {

// Runs an audio thread and two control threads at the same time for a fixed duration. The
// audio thread calls audioStep over and over; each control thread calls controlStep with its
// own index (0 or 1) and the number of steps it has taken so far. The three start together and
// are told to stop together; run returns once all three have finished.
class ConcurrentRun {
  public:
    static constexpr unsigned int kControlThreads = 2;

    struct Counts {
        std::uint64_t audioSteps = 0;
        std::uint64_t controlSteps[kControlThreads] = {};
    };

    using AudioStep = std::function<void()>;
    using ControlStep = std::function<void(unsigned int thread, std::uint64_t step)>;

    static Counts run(std::chrono::milliseconds duration, const AudioStep& audioStep,
                      const ControlStep& controlStep);
};

}  // namespace ostrana::testing
