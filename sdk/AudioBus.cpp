#include <algorithm>
#include <cstring>

#include <ostrana/sdk/AudioBus.h>

namespace ostrana {

void AudioBus::copyFrom(const AudioBus& other) {
    if (&other == this) return;
    const AudioBuffer<float>& source = other.buffer;
    const unsigned int frames = std::min(source.getNumberOfFrames(), buffer.getFrameCapacity());
    const unsigned int channels =
        std::min(source.getNumberOfChannels(), buffer.getNumberOfChannels());
    buffer.setNumberOfFrames(frames);
    buffer.setSampleRate(source.getSampleRate());
    for (unsigned int channel = 0; channel < channels && frames > 0; ++channel) {
        float* target = buffer.getChannel(channel);
        const float* from = source.getChannel(channel);
        // Views of the same memory (a host processing in place) hold the samples already.
        if (target != from) std::memmove(target, from, frames * sizeof(float));
    }
}

}  // namespace ostrana
