#pragma once

#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// One bus of audio as a node receives it: a buffer of 32-bit float samples.
class OSTRANA_SDK_EXPORT AudioBus {
  public:
    AudioBus() = default;
    AudioBus(unsigned int numberOfChannels, unsigned int frameCapacity, unsigned int sampleRate = 0)
        : buffer(numberOfChannels, frameCapacity, sampleRate) {}

    // Makes this bus hold the other bus's samples, sample rate and frame count. Only what fits
    // is copied (the smaller channel count, frames up to this buffer's capacity); nothing is
    // allocated.
    void copyFrom(const AudioBus& other);

    AudioBuffer<float> buffer;
};

}  // namespace ostrana
