#pragma once

#include <ostrana/audio/SineChoice.h>

namespace ostrana::audiotest {

// Makes the oscillators take the vector sine or sinf for a scope, and restores the choice found
// before when the scope ends.
class SineSwitch {
  public:
    explicit SineSwitch(bool vectorSine) : before_(audio::SineChoice::usesVectorSine()) {
        audio::SineChoice::useVectorSine(vectorSine);
    }
    ~SineSwitch() { audio::SineChoice::useVectorSine(before_); }
    SineSwitch(const SineSwitch&) = delete;
    SineSwitch& operator=(const SineSwitch&) = delete;

  private:
    bool before_;
};

}  // namespace ostrana::audiotest
