#include "MonoToStereoSource.h"

namespace ostrana::fx {

MonoToStereoSource::MonoToStereoSource(SampleSource& mono) : mono_(mono) {}

// Reads the mono frames into the first half of the buffer, then spreads them from the end
// backwards, so no second buffer is needed.
std::size_t MonoToStereoSource::readFrames(float* interleaved, std::size_t maxFrames) {
    const std::size_t frames = mono_.readFrames(interleaved, maxFrames);
    for (std::size_t frame = frames; frame-- > 0;) {
        interleaved[2 * frame] = interleaved[frame];
        interleaved[2 * frame + 1] = interleaved[frame];
    }
    return frames;
}

}  // namespace ostrana::fx
