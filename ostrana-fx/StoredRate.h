#pragma once

namespace ostrana::fx {

// The sample rate a file of a libsndfile format says it has once written. Some headers hold
// a rate only approximately: a VOC file's 8-bit blocks keep a byte-sized "time constant",
// so 44100 Hz mono reads back as 45454 Hz, and anything played from it runs 3 % fast.
class StoredRate {
  public:
    // The rate a one-frame file made in memory reads back as; 0 when it cannot be made.
    static unsigned int readBack(int format, unsigned int channels, unsigned int sampleRate);
};

}  // namespace ostrana::fx
