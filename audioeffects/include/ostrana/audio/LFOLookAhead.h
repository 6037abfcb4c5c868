#pragma once

#include <ostrana/audio/LFO.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::audio {

// Steps of one oscillator computed ahead of the blocks that ask for them, so that short blocks
// share the cost of a long run of steps (LFO::processBlockAhead). Plain storage that only the
// oscillator reads and writes: one per oscillator, made before audio runs, used on the thread
// that processes.
class LFOLookAhead {
  public:
    // The most steps computed ahead at once.
    static constexpr unsigned int kSteps = LFO::kStepsAtOnce;

  private:
    friend class LFO;

    float values_[kSteps];
    unsigned int served_ = 0;     // steps handed out so far
    unsigned int available_ = 0;  // steps computed
    float startPhase_ = 0.0f;     // the oscillator's phase before the first of them
    int sampleRate_ = 0;          // the rate and the parameters they were computed with
    float offset_ = 0.0f;
    float amplitude_ = 0.0f;
    float phaseOffset_ = 0.0f;
    float frequency_ = 0.0f;
};

}  // namespace ostrana::audio
