#include <ostrana/audio/LFO.h>
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

// The arithmetic around the sine for a run of steps whose parameters are the same: the sine
// arguments from the phases, and the scaling of the sines. Built for the widest vectors the
// processor has; the operations and their order are those of a single step in every version.
[[gnu::target_clones("avx512f", "avx2", "default")]] void formArguments(
    const float* phases, float phaseOffset, float* arguments, unsigned int steps, double twoPi) {
    for (unsigned int i = 0; i < steps; ++i) {
        arguments[i] = static_cast<float>(static_cast<double>(phases[i]) * twoPi +
                                          static_cast<double>(phaseOffset));
    }
}

[[gnu::target_clones("avx512f", "avx2", "default")]] void scale(float* values, float amplitude,
                                                                float offset, unsigned int steps) {
    for (unsigned int i = 0; i < steps; ++i) values[i] = values[i] * amplitude + offset;
}

}  // namespace

void LFO::processBlockWithVectorSine(int sampleRate, float* values, unsigned int count) {
    followRate(sampleRate);
    for (unsigned int done = 0; done < count; done += kStepsAtOnce) {
        const unsigned int steps = count - done < kStepsAtOnce ? count - done : kStepsAtOnce;
        const Parameters run = loadParameters();
        float phases[kStepsAtOnce];
        phase_ = PhaseWalk::walk(phase_, run.frequency * sampleDuration_, phases, steps);
        float arguments[kStepsAtOnce];
        formArguments(phases, run.phaseOffset, arguments, steps, kTwoPi);
        VectorSine::evaluate(arguments, values + done, steps);
        scale(values + done, run.amplitude, run.offset, steps);
    }
}

}  // namespace ostrana::audio
