#pragma once

#include <cstdint>

namespace ostrana::fx {

// A small deterministic noise source (xorshift32): the same seed always gives the same
// sequence, on every machine, so synthesised test signals are reproducible.
class NoiseGenerator {
  public:
    explicit NoiseGenerator(std::uint32_t seed) : state_(seed != 0 ? seed : 0x9E3779B9u) {}

    std::uint32_t nextInteger() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }

    // A value in [-1, 1).
    double nextSample() {
        const auto centred = static_cast<std::int64_t>(nextInteger()) - 2147483648LL;
        return static_cast<double>(centred) / 2147483648.0;
    }

  private:
    std::uint32_t state_;
};

}  // namespace ostrana::fx
