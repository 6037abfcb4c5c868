#pragma once

namespace ostrana::audio {

// sinf for many values at once, bit for bit. Values are evaluated in double precision, eight
// at a time with AVX2 where the processor has it: a reduction by pi, then an odd polynomial
// of our own fit (scripts/fit-sine-polynomial.py), rounded to float; sixteen at a time with
// AVX-512F where the processor has that too. A lane whose double
// result lies within kBand units in the last place of a rounding midpoint between two floats
// is taken from sinf itself, as are lanes outside |x| < 8, tiny ones, NaN and infinities: see
// VectorSine.cpp for why every other lane equals sinf.
class VectorSine {
  public:
    // out[i] = sinf(x[i]) for i < count; x and out must not overlap.
    static void evaluate(const float* x, float* out, unsigned int count);
    // The same, one value at a time with sinf: what evaluate must equal.
    static void evaluateWithSinf(const float* x, float* out, unsigned int count);
    // evaluate without the AVX-512F lanes: the form for processors with AVX2 only.
    static void evaluateWithoutWideLanes(const float* x, float* out, unsigned int count);
    // evaluate one lane at a time, the form for processors without AVX2 (and for the lanes
    // left over after the last eight).
    static void evaluateOneByOne(const float* x, float* out, unsigned int count);
    // Whether evaluate uses the eight-lane form on this processor.
    static bool hasEightLanes();
    // Whether evaluate uses the AVX-512F form on this processor.
    static bool hasSixteenLanes();
};

}  // namespace ostrana::audio
