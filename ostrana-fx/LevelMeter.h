#pragma once

#include <cstddef>
#include <cstdint>

namespace ostrana::fx {

// Peak and RMS level of all samples it is shown, over every channel.
class LevelMeter {
  public:
    void observe(const float* interleaved, std::size_t frames, unsigned int channels);

    // Largest absolute sample value; 0 before any sample.
    float peak() const { return peak_; }
    // Root mean square of every sample seen; 0 before any sample.
    double rms() const;

    // A linear level in decibels relative to full scale; -infinity for 0.
    static double toDecibels(double level);

  private:
    float peak_ = 0.0f;
    double sumOfSquares_ = 0.0;
    std::uint64_t samples_ = 0;
};

}  // namespace ostrana::fx
