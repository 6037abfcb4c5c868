#include "LevelMeter.h"

#include <cmath>
#include <limits>

namespace ostrana::fx {

void LevelMeter::observe(const float* interleaved, std::size_t frames, unsigned int channels) {
    const std::size_t count = frames * channels;
    for (std::size_t i = 0; i < count; ++i) {
        const float magnitude = std::fabs(interleaved[i]);
        if (magnitude > peak_) peak_ = magnitude;
        sumOfSquares_ += static_cast<double>(interleaved[i]) * static_cast<double>(interleaved[i]);
    }
    samples_ += count;
}

double LevelMeter::rms() const {
    return samples_ == 0 ? 0.0 : std::sqrt(sumOfSquares_ / static_cast<double>(samples_));
}

double LevelMeter::toDecibels(double level) {
    if (level <= 0.0) return -std::numeric_limits<double>::infinity();
    return 20.0 * std::log10(level);
}

}  // namespace ostrana::fx
