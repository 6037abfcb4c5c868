#pragma once

#include <atomic>
#include <cmath>

#include <ostrana/audio/SineChoice.h>
#include <ostrana/audioeffects/Export.h>

namespace ostrana::audio {

// A sine oscillator that advances one sample per process call. Its four parameters may be
// changed from a control thread while the audio thread runs process: each setter is one
// atomic exchange, and process reads each parameter with a single plain load.
class OSTRANA_AUDIOEFFECTS_EXPORT LFO {
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

    // Current phase in cycles. A plain read of state only process writes: call it on the thread
    // that processes (or while nothing does). It stays public for what watches the oscillator
    // move, the tests of its steps and wraps among them.
    float getPhase() const { return phase_; }

    // Returns sin(phase * 2pi + phaseOffset) * amplitude + offset for the current phase, then
    // advances the phase by frequency / sampleRate, wrapping by a single subtraction of 1.
    // The reciprocal of the rate is recomputed only when the rate changes.
    float process(int sampleRate) {
        followRate(sampleRate);
        const float offset = offset_.load(std::memory_order_relaxed);
        const float amplitude = amplitude_.load(std::memory_order_relaxed);
        const float phaseOffset = phaseOffset_.load(std::memory_order_relaxed);
        const float current = phase_;
        phase_ = advance(current, frequency_.load(std::memory_order_relaxed));
        return sinf(argumentOf(current, phaseOffset)) * amplitude + offset;
    }

    // count steps at once: values[i] receives, bit for bit, what the i-th of count calls of
    // process(sampleRate) would return, and the phase ends where those calls leave it. Each step
    // still loads the four parameters once, as process does. The steps' sine arguments are
    // formed first and their sines taken after, in a loop that does nothing else, so that the
    // calls overlap instead of waiting on the work around them.
    void processBlock(int sampleRate, float* values, unsigned int count) {
        for (unsigned int done = 0; done < count; done += kStepsAtOnce) {
            const unsigned int steps = count - done < kStepsAtOnce ? count - done : kStepsAtOnce;
            processSteps(sampleRate, values + done, steps);
        }
    }

  private:
    static constexpr double kTwoPi = 6.283185307179586;

    // values[i] = sinf(arguments[i]), bit for bit, for many values at once, by the vector sine:
    // processSteps calls it when SineChoice names that sine.
    static void sines(const float* arguments, float* values, unsigned int count);
    static constexpr unsigned int kStepsAtOnce = 64;

    // 1 / sampleRate, formed in double and narrowed, whenever the rate differs from the last.
    void followRate(int sampleRate) {
        if (sampleRate != cachedSampleRate_) {
            sampleDuration_ = static_cast<float>(1.0 / static_cast<double>(sampleRate));
            cachedSampleRate_ = sampleRate;
        }
    }

    // The phase after current: one step of frequency * sampleDuration, less 1 once if that
    // reaches 1.
    float advance(float current, float frequency) const {
        const float next = frequency * sampleDuration_ + current;
        return next >= 1.0f ? next - 1.0f : next;
    }

    // The sine's argument for a phase: formed in double, narrowed to float.
    static float argumentOf(float phase, float phaseOffset) {
        return static_cast<float>(static_cast<double>(phase) * kTwoPi +
                                  static_cast<double>(phaseOffset));
    }

    // processBlock for at most kStepsAtOnce steps. The rate is the same for every step, so it is
    // followed once, before the first.
    void processSteps(int sampleRate, float* values, unsigned int steps) {
        followRate(sampleRate);
        float arguments[kStepsAtOnce];
        float amplitudes[kStepsAtOnce];
        float offsets[kStepsAtOnce];
        float phase = phase_;
        for (unsigned int i = 0; i < steps; ++i) {
            offsets[i] = offset_.load(std::memory_order_relaxed);
            amplitudes[i] = amplitude_.load(std::memory_order_relaxed);
            const float phaseOffset = phaseOffset_.load(std::memory_order_relaxed);
            arguments[i] = argumentOf(phase, phaseOffset);
            phase = advance(phase, frequency_.load(std::memory_order_relaxed));
        }
        phase_ = phase;
        // sinf itself stays inline here: a call further out costs the short blocks.
        if (SineChoice::usesVectorSine()) {
            sines(arguments, values, steps);
        } else {
            for (unsigned int i = 0; i < steps; ++i) values[i] = sinf(arguments[i]);
        }
        for (unsigned int i = 0; i < steps; ++i) values[i] = values[i] * amplitudes[i] + offsets[i];
    }

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
