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

// The sine arguments of a run of phases start + j * step, each formed as process forms one from
// its phase: the phase, exact in double as start + j * step, times 2 pi, plus the phase offset,
// narrowed. Built for the widest vectors the processor has; the operations and their order are
// those of a single step in every version.
[[gnu::target_clones("avx512f", "avx2", "default")]] void formRunArguments(float* arguments,
                                                                           float start, float step,
                                                                           unsigned int length,
                                                                           double phaseOffset,
                                                                           double twoPi) {
    const double first = start;
    const double stride = step;
    for (unsigned int j = 0; j < length; ++j) {
        const double phase = first + static_cast<double>(j) * stride;
        arguments[j] = static_cast<float>(phase * twoPi + phaseOffset);
    }
}

[[gnu::target_clones("avx512f", "avx2", "default")]] void scale(float* values, float amplitude,
                                                                float offset, unsigned int steps) {
    for (unsigned int i = 0; i < steps; ++i) values[i] = values[i] * amplitude + offset;
}

}  // namespace

// Where the phase walk puts a run's steps: their sine arguments.
struct LFO::ArgumentSink {
    float* arguments;
    float phaseOffset;

    void run(unsigned int i, float start, float step, unsigned int length) const {
        formRunArguments(arguments + i, start, step, length, static_cast<double>(phaseOffset),
                         kTwoPi);
    }
    void one(unsigned int i, float phase) const { arguments[i] = argumentOf(phase, phaseOffset); }
};

void LFO::processBlockWithVectorSine(int sampleRate, float* values, unsigned int count) {
    followRate(sampleRate);
    for (unsigned int done = 0; done < count; done += kStepsAtOnce) {
        const unsigned int steps = count - done < kStepsAtOnce ? count - done : kStepsAtOnce;
        const Parameters run = loadParameters();
        float arguments[kStepsAtOnce];
        ArgumentSink sink{arguments, run.phaseOffset};
        phase_ = PhaseWalk::walk(phase_, run.frequency * sampleDuration_, steps, sink);
        VectorSine::evaluate(arguments, values + done, steps);
        scale(values + done, run.amplitude, run.offset, steps);
    }
}

}  // namespace ostrana::audio
