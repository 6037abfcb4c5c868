#include "ShapedSource.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ostrana::fx {

ShapedSource::ShapedSource(SampleSource& source, Shape shape) : source_(source), shape_(shape) {
    const std::uint64_t total = source_.totalFrames();
    const std::uint64_t available = total > shape_.startFrame ? total - shape_.startFrame : 0;
    if (shape_.lengthFrames > 0) {
        keptFrames_ = total > 0 ? std::min(shape_.lengthFrames, available) : shape_.lengthFrames;
    } else {
        keptFrames_ = available;
    }
}

// Reads past the frames before the start, through the caller's buffer.
void ShapedSource::skipToStart(float* scratch, std::size_t scratchFrames) {
    std::uint64_t skipped = 0;
    while (skipped < shape_.startFrame) {
        const std::size_t want = static_cast<std::size_t>(
            std::min<std::uint64_t>(scratchFrames, shape_.startFrame - skipped));
        const std::size_t got = source_.readFrames(scratch, want);
        if (got == 0) break;
        skipped += got;
    }
    started_ = true;
}

std::size_t ShapedSource::readFrames(float* interleaved, std::size_t maxFrames) {
    if (!started_) skipToStart(interleaved, maxFrames);
    std::size_t wanted = maxFrames;
    if (shape_.lengthFrames > 0) {
        wanted = static_cast<std::size_t>(std::min<std::uint64_t>(
            wanted, shape_.lengthFrames - std::min(shape_.lengthFrames, position_)));
    }
    const std::size_t got = wanted == 0 ? 0 : source_.readFrames(interleaved, wanted);
    fade(interleaved, got);
    position_ += got;
    return got;
}

void ShapedSource::fade(float* interleaved, std::size_t frames) const {
    if (shape_.fadeInFrames == 0 && shape_.fadeOutFrames == 0) return;
    const unsigned int channels = source_.channels();
    const std::uint64_t fadeOutStart =
        keptFrames_ > shape_.fadeOutFrames ? keptFrames_ - shape_.fadeOutFrames : 0;
    for (std::size_t i = 0; i < frames; ++i) {
        const std::uint64_t frame = position_ + i;
        double gain = 1.0;
        if (frame < shape_.fadeInFrames) {
            gain *= 0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(frame) /
                                         static_cast<double>(shape_.fadeInFrames));
        }
        if (shape_.fadeOutFrames > 0 && frame >= fadeOutStart) {
            const double left = static_cast<double>(keptFrames_ - frame - 1);
            gain *= 0.5 - 0.5 * std::cos(std::numbers::pi * left /
                                         static_cast<double>(shape_.fadeOutFrames));
        }
        if (gain == 1.0) continue;
        for (unsigned int channel = 0; channel < channels; ++channel) {
            float& sample = interleaved[i * channels + channel];
            sample = static_cast<float>(sample * gain);
        }
    }
}

}  // namespace ostrana::fx
