#include "SampleQuantizer.h"

#include <cmath>

namespace ostrana::fx {

SampleQuantizer::SampleQuantizer(unsigned int bits, Dither dither)
    : bits_(bits),
      dither_(dither),
      scale_(std::ldexp(1.0, static_cast<int>(bits) - 1)),
      lowest_(-scale_),
      highest_(scale_ - 1.0) {}

double SampleQuantizer::nextUniform() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    const std::uint64_t random = state_ * 0x2545F4914F6CDD1Dull;
    return static_cast<double>(random >> 11) * 0x1.0p-53;
}

void SampleQuantizer::convert(const float* samples, std::int32_t* integers, std::size_t count) {
    const int shift = 32 - static_cast<int>(bits_);
    for (std::size_t i = 0; i < count; ++i) {
        double value = static_cast<double>(samples[i]) * scale_;
        if (dither_ == Dither::Triangular) value += nextUniform() - nextUniform();
        // Not a number becomes silence; beyond full scale clips.
        double rounded = std::isnan(value) ? 0.0 : std::nearbyint(value);
        if (rounded < lowest_) rounded = lowest_;
        if (rounded > highest_) rounded = highest_;
        integers[i] = static_cast<std::int32_t>(static_cast<std::int64_t>(rounded) *
                                                (std::int64_t{1} << shift));
    }
}

}  // namespace ostrana::fx
