#include <ostrana/audio/LFO.h>
#include <ostrana/audio/VectorSine.h>

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

}  // namespace ostrana::audio
