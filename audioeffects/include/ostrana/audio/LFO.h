#pragma once

#include <atomic>
#include <cmath>

#include <ostrana/audio/SineChoice.h>
#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::audio {

class LFOLookAhead;

// A sine oscillator that advances one sample per process call. Its four parameters may be
// changed from a control thread while the audio thread runs process: each setter is one
// atomic exchange, and process reads each parameter with a single plain load.
//
// For an effect, the way to use it:
//   - setSwing(Swing::ZeroToOne) or setSwing(Swing::MinusOneToOne) once, for the range its
//     values take (a new oscillator swings from -1 to 1);
//   - processBlock(sampleRate, values, count) to fill a block with its next count values. That
//     is the one call to fill a block with: the values are bit for bit those of count calls of
//     process, at the cost of long runs. process is the same one step at a time (and the
//     definition of the values); processBlockAhead is processBlock for effects that process
//     many short blocks and keep an LFOLookAhead per oscillator.
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

    // The range an oscillator's values sweep. ZeroToOne (amplitude 0.5, offset 0.5) is what
    // the swept effects use to turn a value into a share of their sweep; MinusOneToOne
    // (amplitude 1, offset 0, as a new oscillator has) moves a value both ways.
    enum class Swing { ZeroToOne, MinusOneToOne };
    // Sets the amplitude, then the offset, of the swing.
    void setSwing(Swing swing) {
        const bool zeroToOne = swing == Swing::ZeroToOne;
        setAmplitude(zeroToOne ? 0.5f : 1.0f);
        setOffset(zeroToOne ? 0.5f : 0.0f);
    }

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
    // process(sampleRate) would return, and the phase ends where those calls leave it. The
    // steps run in runs of up to kStepsAtOnce, and each run loads the four parameters once, in
    // process's order: a change made while a block runs lands between two runs, so between two
    // samples, as with process. With the vector sine (SineChoice), a run's phases are walked in
    // exact stretches and their sines taken many at a time; with sinf, the run's sine arguments
    // are formed first and their sines taken after, in a loop that does nothing else, so that
    // the calls overlap instead of waiting on the work around them.
    void processBlock(int sampleRate, float* values, unsigned int count) {
        if (SineChoice::usesVectorSine()) {
            processBlockWithVectorSine(sampleRate, values, count);
            return;
        }
        // The rate is the same for every step, so it is followed once, before the first.
        followRate(sampleRate);
        for (unsigned int done = 0; done < count; done += kStepsAtOnce) {
            const unsigned int steps = count - done < kStepsAtOnce ? count - done : kStepsAtOnce;
            processSteps(loadParameters(), values + done, steps);
        }
    }

    // The most steps that processBlock takes with one load of the parameters.
    static constexpr unsigned int kStepsAtOnce = 256;

    // processBlock for short blocks: the same values, bit for bit, and the same moments at which
    // parameter changes land, at about the cost per step of long blocks. The steps are computed
    // LFOLookAhead::kSteps at a time, ahead of the calls, and handed out while the rate and the
    // four parameters stay those they were computed with: each run of up to kStepsAtOnce steps
    // loads the parameters once, as processBlock's runs do, and compares. A change drops what
    // was computed ahead and puts the phase back where the steps handed out leave it. Between
    // calls the phase (getPhase) stands after the steps computed ahead: call settle before
    // this oscillator is processed any other way. ahead belongs to this oscillator alone.
    void processBlockAhead(int sampleRate, float* values, unsigned int count, LFOLookAhead& ahead);

    // Drops the steps computed ahead that were not handed out, the phase put back where the
    // ones handed out leave it: the oscillator then stands where processBlock would have left
    // it. Does nothing when nothing is left ahead.
    void settle(LFOLookAhead& ahead);

  private:
    static constexpr double kTwoPi = 6.283185307179586;

    // The four parameters as a step loads them.
    struct Parameters {
        float offset;
        float amplitude;
        float phaseOffset;
        float frequency;
    };
    // One load of each parameter, in process's order.
    Parameters loadParameters() const {
        Parameters loaded;
        loaded.offset = offset_.load(std::memory_order_relaxed);
        loaded.amplitude = amplitude_.load(std::memory_order_relaxed);
        loaded.phaseOffset = phaseOffset_.load(std::memory_order_relaxed);
        loaded.frequency = frequency_.load(std::memory_order_relaxed);
        return loaded;
    }

    // processBlock on the vector sine.
    void processBlockWithVectorSine(int sampleRate, float* values, unsigned int count);
    // One run of at most kStepsAtOnce steps with the parameters run, the rate already followed:
    // on the sine in use, or on the vector sine in lanes lanes.
    [[gnu::visibility("hidden")]] void computeRun(const Parameters& run, float* values,
                                                  unsigned int steps);
    [[gnu::visibility("hidden")]] void runWithVectorSine(const Parameters& run, float* values,
                                                         unsigned int steps, unsigned int lanes);
    // Whether nothing is left ahead, or what is there was computed at this rate with these
    // parameters, to the bit.
    [[gnu::visibility("hidden")]] static bool computedWith(const LFOLookAhead& ahead,
                                                           const Parameters& run, int sampleRate);
    // The next LFOLookAhead::kSteps steps into ahead, with the parameters run at this rate; ahead
    // must hold no steps not handed out.
    [[gnu::visibility("hidden")]] void computeAhead(const Parameters& run, int sampleRate,
                                                    LFOLookAhead& ahead);
    // Where processBlockWithVectorSine's phase walk puts each step (LFO.cpp).
    struct ArgumentSink;
    // values[i] = sinf(arguments[i]) by the vector sine. Nothing here calls it any more; it
    // stays for programs built against earlier headers, whose inline processBlock calls it.
    static void sines(const float* arguments, float* values, unsigned int count);

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

    // One run of processBlock on sinf, at most kStepsAtOnce steps, with the parameters run, the
    // rate already followed.
    void processSteps(const Parameters& run, float* values, unsigned int steps) {
        float arguments[kStepsAtOnce];
        float phase = phase_;
        for (unsigned int i = 0; i < steps; ++i) {
            arguments[i] = argumentOf(phase, run.phaseOffset);
            phase = advance(phase, run.frequency);
        }
        phase_ = phase;
        // sinf itself stays inline here: a call further out costs the short blocks.
        for (unsigned int i = 0; i < steps; ++i) values[i] = sinf(arguments[i]);
        for (unsigned int i = 0; i < steps; ++i) values[i] = values[i] * run.amplitude + run.offset;
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
