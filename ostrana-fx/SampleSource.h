#pragma once

#include <cstddef>
#include <cstdint>

namespace ostrana::fx {

// Where a render reads its audio from: interleaved 32-bit float frames of a fixed channel
// count and sample rate.
class SampleSource {
  public:
    virtual ~SampleSource() = default;

    virtual unsigned int channels() const = 0;
    virtual unsigned int sampleRate() const = 0;
    // Total frames, or 0 when not known in advance.
    virtual std::uint64_t totalFrames() const = 0;
    // Fills interleaved with up to maxFrames frames; returns how many, 0 at the end.
    // Throws a CommandError when reading fails.
    virtual std::size_t readFrames(float* interleaved, std::size_t maxFrames) = 0;
};

}  // namespace ostrana::fx
