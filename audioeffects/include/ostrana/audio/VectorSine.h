#pragma once

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::audio {

// sinf for many values at once, bit for bit where the C library is glibc. Values are evaluated
// in double precision, sixteen at a time with AVX-512F, eight with AVX2 (both with FMA), else
// one by one (the widest the processor has within LaneChoice's limit): a reduction by pi, then
// an odd polynomial of our own fit (scripts/fit-sine-polynomial.py), rounded to float. A lane
// whose double result lies within 0.08 units in the last place of a rounding midpoint between
// two floats is taken from sinf itself, as are lanes outside |x| < 8, tiny ones, NaN,
// infinities and results next to a power of two: see VectorSine.cpp for why every other lane
// equals sinf. The oscillators take it when SineChoice says so.
class OSTRANA_AUDIOEFFECTS_EXPORT VectorSine {
  public:
    // out[i] = sinf(x[i]) for i < count; x and out must not overlap.
    static void evaluate(const float* x, float* out, unsigned int count);
};

}  // namespace ostrana::audio
