#include "MemorySource.h"

#include <algorithm>
#include <cstring>

namespace ostrana::fx {

MemorySource::MemorySource(const std::vector<float>& interleaved, unsigned int channels,
                           unsigned int sampleRate)
    : samples_(interleaved), channels_(channels == 0 ? 1 : channels), sampleRate_(sampleRate) {}

std::size_t MemorySource::readFrames(float* interleaved, std::size_t maxFrames) {
    const std::size_t available = totalFrames() - nextFrame_;
    const std::size_t frames = std::min(available, maxFrames);
    if (frames > 0) {
        std::memcpy(interleaved, samples_.data() + nextFrame_ * channels_,
                    frames * channels_ * sizeof(float));
    }
    nextFrame_ += frames;
    return frames;
}

}  // namespace ostrana::fx
