#pragma once

#include <cstddef>
#include <cstdint>

namespace ostrana::fx {

// Turns float samples into the integers of a bits-deep format, as 32-bit integers whose top
// bits hold them (the form libsndfile's integer writes take, which it then only shifts):
// scaled so that 1.0 is full scale (2^(bits-1)), rounded to the nearest integer (halves to
// even), clipped at full scale. With dither, triangular noise of one step's height either way
// is added before rounding, from a fixed seed: the same input gives the same file every time.
class SampleQuantizer {
  public:
    enum class Dither { None, Triangular };

    SampleQuantizer(unsigned int bits, Dither dither);

    void convert(const float* samples, std::int32_t* integers, std::size_t count);

    unsigned int bits() const { return bits_; }

  private:
    // Uniform in [0, 1): 53 random bits of a xorshift64* generator.
    double nextUniform();

    unsigned int bits_;
    Dither dither_;
    double scale_;
    double lowest_;
    double highest_;
    std::uint64_t state_ = 0x9E3779B97F4A7C15ull;
};

}  // namespace ostrana::fx
