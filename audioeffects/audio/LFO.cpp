#include <bit>
#include <cstdint>
#include <cstring>

#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>
#include <ostrana/audio/LaneChoice.h>
#include <ostrana/audio/VectorSine.h>

#include "audio/LaneTarget.h"
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

// The sine arguments of a run of phases start + j * step, each formed as process forms one from
// its phase: the phase, exact in double as start + j * step, times 2 pi, plus the phase offset,
// narrowed. The operations and their order are those of a single step.
[[gnu::always_inline]] inline void formRunArguments(float* arguments, float start, float step,
                                                    unsigned int length, double phaseOffset,
                                                    double twoPi) {
    const double first = start;
    const double stride = step;
    for (unsigned int j = 0; j < length; ++j) {
        const double phase = first + static_cast<double>(j) * stride;
        arguments[j] = static_cast<float>(phase * twoPi + phaseOffset);
    }
}

[[gnu::always_inline]] inline void scale(float* values, float amplitude, float offset,
                                         unsigned int steps) {
    for (unsigned int i = 0; i < steps; ++i) values[i] = values[i] * amplitude + offset;
}

// The same loops built for the widest vectors the processor has, chosen at run time as the
// rest of the library's vector code is (the compiler's own dispatch, ifunc, cannot be used:
// its resolvers run before a sanitizer's runtime is ready).
#if OSTRANA_X86_64_LANES
[[gnu::target("avx512f")]] void formRunArgumentsSixteen(float* arguments, float start, float step,
                                                        unsigned int length, double phaseOffset,
                                                        double twoPi) {
    formRunArguments(arguments, start, step, length, phaseOffset, twoPi);
}
[[gnu::target("avx2")]] void formRunArgumentsEight(float* arguments, float start, float step,
                                                   unsigned int length, double phaseOffset,
                                                   double twoPi) {
    formRunArguments(arguments, start, step, length, phaseOffset, twoPi);
}
[[gnu::target("avx512f")]] void scaleSixteen(float* values, float amplitude, float offset,
                                             unsigned int steps) {
    scale(values, amplitude, offset, steps);
}
[[gnu::target("avx2")]] void scaleEight(float* values, float amplitude, float offset,
                                        unsigned int steps) {
    scale(values, amplitude, offset, steps);
}
#endif

void formRunArgumentsIn([[maybe_unused]] unsigned int lanes, float* arguments, float start,
                        float step, unsigned int length, double phaseOffset, double twoPi) {
#if OSTRANA_X86_64_LANES
    if (lanes >= 16)
        return formRunArgumentsSixteen(arguments, start, step, length, phaseOffset, twoPi);
    if (lanes >= 8)
        return formRunArgumentsEight(arguments, start, step, length, phaseOffset, twoPi);
#endif
    formRunArguments(arguments, start, step, length, phaseOffset, twoPi);
}

void scaleIn([[maybe_unused]] unsigned int lanes, float* values, float amplitude, float offset,
             unsigned int steps) {
#if OSTRANA_X86_64_LANES
    if (lanes >= 16) return scaleSixteen(values, amplitude, offset, steps);
    if (lanes >= 8) return scaleEight(values, amplitude, offset, steps);
#endif
    scale(values, amplitude, offset, steps);
}

}  // namespace

// Where the phase walk puts a run's steps: their sine arguments.
struct LFO::ArgumentSink {
    float* arguments;
    float phaseOffset;
    unsigned int lanes;

    void run(unsigned int i, float start, float step, unsigned int length) const {
        formRunArgumentsIn(lanes, arguments + i, start, step, length,
                           static_cast<double>(phaseOffset), kTwoPi);
    }
    void one(unsigned int i, float phase) const { arguments[i] = argumentOf(phase, phaseOffset); }
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
    const ArgumentSink sink{arguments, run.phaseOffset, lanes};
    phase_ = PhaseWalk::walk(phase_, run.frequency * sampleDuration_, steps, sink);
    VectorSine::evaluate(arguments, values, steps);
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
        if (!computedWith(ahead, run, sampleRate)) settle(ahead);
        if (ahead.served_ == ahead.available_ && steps == LFOLookAhead::kSteps) {
            // A whole run asked for: computed in place, nothing gained by going through ahead.
            followRate(sampleRate);
            computeRun(run, values + done, steps);
            done += steps;
            continue;
        }
        for (const unsigned int end = done + steps; done < end;) {
            if (ahead.served_ == ahead.available_) computeAhead(run, sampleRate, ahead);
            const unsigned int left = ahead.available_ - ahead.served_;
            const unsigned int taken = end - done < left ? end - done : left;
            std::memcpy(values + done, ahead.values_ + ahead.served_, taken * sizeof(float));
            ahead.served_ += taken;
            done += taken;
        }
    }
}

bool LFO::computedWith(const LFOLookAhead& ahead, const Parameters& run, int sampleRate) {
    return ahead.served_ == ahead.available_ ||
           (ahead.sampleRate_ == sampleRate && sameBits(ahead.offset_, run.offset) &&
            sameBits(ahead.amplitude_, run.amplitude) &&
            sameBits(ahead.phaseOffset_, run.phaseOffset) &&
            sameBits(ahead.frequency_, run.frequency));
}

void LFO::computeAhead(const Parameters& run, int sampleRate, LFOLookAhead& ahead) {
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
