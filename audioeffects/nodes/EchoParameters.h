#pragma once

#include <atomic>

#include "descriptors/EffectParameters.h"

namespace ostrana::extensions::audioeffects {

// The five parameters of the delay and the ping-pong delay, starting from the catalogue's
// defaults. Each is one atomic: control threads exchange it, the audio thread loads it.
struct EchoParameters {
    std::atomic<bool> isEnabled{parameters::kDelayEnabled.defaultAs<bool>()};
    std::atomic<unsigned int> delayMs{parameters::kDelayMs.defaultAs<unsigned int>()};
    std::atomic<float> dryMix{parameters::kDryMix.defaultAs<float>()};
    std::atomic<float> wetMix{parameters::kWetMix.defaultAs<float>()};
    std::atomic<float> feedbackLevel{parameters::kFeedbackLevel.defaultAs<float>()};

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
    static_assert(std::atomic<unsigned int>::is_always_lock_free);

    // A delay in samples before truncation: delayMs * (sampleRate / 1000.0), in double
    // precision. Each node limits it to its own line.
    static double samplesFor(unsigned int delayMs, unsigned int sampleRate) {
        return static_cast<double>(delayMs) * (static_cast<double>(sampleRate) / 1000.0);
    }
};

}  // namespace ostrana::extensions::audioeffects
