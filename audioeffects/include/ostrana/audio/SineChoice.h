#pragma once

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::audio {

// Which sine the oscillators take: the vector sine (the default where the C library is glibc,
// unless the library was built with OSTRANA_VECTOR_SINE off), or the C library's sinf one value
// at a time (the default otherwise). Both give the same values on glibc, which the test suite
// checks for every float the oscillators use; choose sinf where the C library is not glibc or
// that test fails on a machine. Set it before audio runs: it is read on the audio thread.
class OSTRANA_AUDIOEFFECTS_EXPORT SineChoice {
  public:
    static void useVectorSine(bool use);
    static bool usesVectorSine();
};

}  // namespace ostrana::audio
