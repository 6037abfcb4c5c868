#include <bit>
#include <cstdint>
#include <cstring>

#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>
#include <ostrana/audio/LaneChoice.h>
#include <ostrana/audio/VectorSine.h>

#include "audio/PhaseWalk.h"

namespace ostrana::audio {

LFO::LFO(const LFO& other) {
    *this = other;
}

LFO& LFO::operator=(const LFO& other) {
    frequency_.store(other.getFrequency());
    amplitude_.store(other.getAmplitude());
    offset_.store(other.getOffset());
    phaseOffset_.store(other.getPhaseOffset());
    phase_ = other.phase_;
    cachedSampleRate_ = other.cachedSampleRate_;
    sampleDuration_ = other.sampleDuration_;
    return *this;
}

void LFO::sines(const float* arguments, float* values, unsigned int count) {
    VectorSine::evaluate(arguments, values, count);
}

namespace {

[[gnu::always_inline]] inline void scale(float* values, float amplitude, float offset,
                                         unsigned int steps) {
    for (unsigned int i = 0; i < steps; ++i) values[i] = values[i] * amplitude + offset;
}

// The same loop built for the widest vectors the processor has, chosen at run time as the rest
// of the library's vector code is (the compiler's own dispatch, ifunc, cannot be used: its
// resolvers run before a sanitizer's runtime is ready).
#if defined(__x86_64__)
[[gnu::target("avx512f")]] void scaleSixteen(float* values, float amplitude, float offset,
                                             unsigned int steps) {
    scale(values, amplitude, offset, steps);
}
[[gnu::target("avx2")]] void scaleEight(float* values, float amplitude, float offset,
                                        unsigned int steps) {
    scale(values, amplitude, offset, steps);
}
#endif

void scaleIn(unsigned int lanes, float* values, float amplitude, float offset, unsigned int steps) {
#if defined(__x86_64__)
    if (lanes >= 16) return scaleSixteen(values, amplitude, offset, steps);
    if (lanes >= 8) return scaleEight(values, amplitude, offset, steps);
#endif
    scale(values, amplitude, offset, steps);
}

}  // namespace

// Where the phase walk puts a run's steps: their sines, by the vector sine. An exact run of
// phases start + j * step is a progression whose arguments the vector sine forms as a single
// step forms one (the phase times 2 pi plus the phase offset, in double, narrowed); a step taken
// alone has its argument formed here.
struct LFO::SineSink {
    float* arguments;
    float* values;
    float phaseOffset;

    void run(unsigned int i, float start, float step, unsigned int length) const {
        const VectorSine::Progression phases{start, step, kTwoPi, static_cast<double>(phaseOffset)};
        VectorSine::evaluate(phases, arguments + i, values + i, length);
    }
    void one(unsigned int i, float phase) const {
        arguments[i] = argumentOf(phase, phaseOffset);
        VectorSine::evaluate(arguments + i, values + i, 1);
    }
};

void LFO::processBlockWithVectorSine(int sampleRate, float* values, unsigned int count) {
    followRate(sampleRate);
    const unsigned int lanes = LaneChoice::inUse();
    for (unsigned int done = 0; done < count; done += kStepsAtOnce) {
        const unsigned int steps = count - done < kStepsAtOnce ? count - done : kStepsAtOnce;
        runWithVectorSine(loadParameters(), values + done, steps, lanes);
    }
}

void LFO::runWithVectorSine(const Parameters& run, float* values, unsigned int steps,
                            unsigned int lanes) {
    float arguments[kStepsAtOnce];
    const SineSink sink{arguments, values, run.phaseOffset};
    phase_ = PhaseWalk::walk(phase_, run.frequency * sampleDuration_, steps, sink);
    scaleIn(lanes, values, run.amplitude, run.offset, steps);
}

void LFO::computeRun(const Parameters& run, float* values, unsigned int steps) {
    if (SineChoice::usesVectorSine()) {
        runWithVectorSine(run, values, steps, LaneChoice::inUse());
    } else {
        processSteps(run, values, steps);
    }
}

namespace {

// Whether the steps computed ahead were computed with this rate and these parameters, to the
// bit (a zero's sign and a NaN's payload included: they can change the values).
bool sameBits(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

// Takes the phases of the steps being skipped and nothing else.
struct DiscardingSink {
    void run(unsigned int, float, float, unsigned int) const {}
    void one(unsigned int, float) const {}
};

}  // namespace

void LFO::processBlockAhead(int sampleRate, float* values, unsigned int count,
                            LFOLookAhead& ahead) {
    for (unsigned int done = 0; done < count;) {
        const unsigned int steps = count - done < kStepsAtOnce ? count - done : kStepsAtOnce;
        const Parameters run = loadParameters();
        if (ahead.served_ != ahead.available_ &&
            !(ahead.sampleRate_ == sampleRate && sameBits(ahead.offset_, run.offset) &&
              sameBits(ahead.amplitude_, run.amplitude) &&
              sameBits(ahead.phaseOffset_, run.phaseOffset) &&
              sameBits(ahead.frequency_, run.frequency))) {
            settle(ahead);
        }
        if (ahead.served_ == ahead.available_ && steps == LFOLookAhead::kSteps) {
            // A whole run asked for: computed in place, nothing gained by going through ahead.
            followRate(sampleRate);
            computeRun(run, values + done, steps);
            done += steps;
            continue;
        }
        for (unsigned int end = done + steps; done < end;) {
            if (ahead.served_ == ahead.available_) {
                followRate(sampleRate);
                ahead.startPhase_ = phase_;
                computeRun(run, ahead.values_, LFOLookAhead::kSteps);
                ahead.served_ = 0;
                ahead.available_ = LFOLookAhead::kSteps;
                ahead.sampleRate_ = sampleRate;
                ahead.offset_ = run.offset;
                ahead.amplitude_ = run.amplitude;
                ahead.phaseOffset_ = run.phaseOffset;
                ahead.frequency_ = run.frequency;
            }
            const unsigned int left = ahead.available_ - ahead.served_;
            const unsigned int taken = end - done < left ? end - done : left;
            std::memcpy(values + done, ahead.values_ + ahead.served_, taken * sizeof(float));
            ahead.served_ += taken;
            done += taken;
        }
    }
}

void LFO::settle(LFOLookAhead& ahead) {
    if (ahead.served_ != ahead.available_) {
        // The steps were computed at the recorded rate, which the oscillator still follows:
        // a rate change settles before it is followed.
        const DiscardingSink discard;
        phase_ = PhaseWalk::walk(ahead.startPhase_, ahead.frequency_ * sampleDuration_,
                                 ahead.served_, discard);
    }
    ahead.served_ = 0;
    ahead.available_ = 0;
}

}  // namespace ostrana::audio
