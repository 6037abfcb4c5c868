#pragma once

#include <ostrana/audio/LaneChoice.h>

namespace ostrana::audiotest {

// Limits the library's vector code to at most the given lanes for a scope, and restores the
// limit found before when the scope ends.
class LaneLimit {
  public:
    explicit LaneLimit(unsigned int lanes) : before_(audio::LaneChoice::limit()) {
        audio::LaneChoice::limitTo(lanes);
    }
    ~LaneLimit() { audio::LaneChoice::limitTo(before_); }
    LaneLimit(const LaneLimit&) = delete;
    LaneLimit& operator=(const LaneLimit&) = delete;

  private:
    unsigned int before_;
};

}  // namespace ostrana::audiotest
