#pragma once

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::audio {

// How many values the library's vector code takes in one step. The chorus, flanger and
// vibrato run their delay lines 16 frames of a channel at a time on processors with AVX-512F,
// 8 with AVX2, else 4; the vector sine (VectorSine) takes 16 values at a time with AVX-512F, 8
// with AVX2 (both with FMA), else one. Every width gives the same output, bit for bit, which the
// test suite checks width by width; a limit is there to compare or time the widths, or to rule one
// out on a machine. Set it before audio runs: it is read on the audio thread.
class OSTRANA_AUDIOEFFECTS_EXPORT LaneChoice {
  public:
    // The widest any of the library's code takes: the limit until limitTo changes it.
    static constexpr unsigned int kWidest = 16;

    // The most lanes this processor runs: 16, 8 or 4.
    static unsigned int widestOnThisProcessor();
    // From now on each piece of vector code takes at most lanes values in one step, its next
    // narrower width where its own is wider (the delay lines' narrowest is 4).
    static void limitTo(unsigned int lanes);
    // The limit set last (kWidest until limitTo is called).
    static unsigned int limit();
    // The most lanes the vector code takes now: the limit, at most the processor's widest.
    static unsigned int inUse();
};

}  // namespace ostrana::audio
