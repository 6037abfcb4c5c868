#pragma once

#include <atomic>
#include <cmath>

namespace ostrana::audio {

// A sine oscillator that advances one sample per process call. Its four parameters may be
// changed from a control thread while the audio thread runs process: each setter is one
// atomic exchange, and process reads each parameter with a single plain load.
class LFO {
public:
    LFO() = default;
    // Copies parameters and state; for building oscillators, never while one is processing.
    LFO(const LFO& other);
    LFO& operator=(const LFO& other);

    float getFrequency() const { return frequency_.load(std::memory_order_relaxed); }
    void setFrequency(float value) { frequency_.exchange(value); }
    float getAmplitude() const { return amplitude_.load(std::memory_order_relaxed); }
    void setAmplitude(float value) { amplitude_.exchange(value); }
    float getOffset() const { return offset_.load(std::memory_order_relaxed); }
    void setOffset(float value) { offset_.exchange(value); }
    float getPhaseOffset() const { return phaseOffset_.load(std::memory_order_relaxed); }
    void setPhaseOffset(float value) { phaseOffset_.exchange(value); }

    // Current phase in cycles.
    float getPhase() const { return phase_; }

    // Returns sin(phase * 2pi + phaseOffset) * amplitude + offset for the current phase, then
    // advances the phase by frequency / sampleRate, wrapping by a single subtraction of 1.
    // The reciprocal of the rate is recomputed only when the rate changes.
    float process(int sampleRate) {
        if (sampleRate != cachedSampleRate_) {
            sampleDuration_ = static_cast<float>(1.0 / static_cast<double>(sampleRate));
            cachedSampleRate_ = sampleRate;
        }
        const float offset = offset_.load(std::memory_order_relaxed);
        const float amplitude = amplitude_.load(std::memory_order_relaxed);
        const float phaseOffset = phaseOffset_.load(std::memory_order_relaxed);
        const float current = phase_;
        float next = frequency_.load(std::memory_order_relaxed) * sampleDuration_ + current;
        if (next >= 1.0f) next = next - 1.0f;
        phase_ = next;
        const double argument =
            static_cast<double>(current) * kTwoPi + static_cast<double>(phaseOffset);
        return sinf(static_cast<float>(argument)) * amplitude + offset;
    }

private:
    static constexpr double kTwoPi = 6.283185307179586;
    static_assert(std::atomic<float>::is_always_lock_free);

    std::atomic<float> frequency_{10.0f};
    std::atomic<float> amplitude_{1.0f};
    std::atomic<float> offset_{0.0f};
    std::atomic<float> phaseOffset_{0.0f};
    float phase_ = 0.0f;
    int cachedSampleRate_ = 0;
    float sampleDuration_ = 0.0f;
};

}  // namespace ostrana::audio
