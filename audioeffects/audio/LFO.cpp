#include <ostrana/audio/LFO.h>

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

}  // namespace ostrana::audio
