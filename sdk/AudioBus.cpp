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
        std::memcpy(buffer.getChannel(channel), source.getChannel(channel), frames * sizeof(float));
    }
}

}  // namespace ostrana
