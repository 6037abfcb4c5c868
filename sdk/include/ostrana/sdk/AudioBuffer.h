#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ostrana {

// A block of samples addressed by (channel, frame), stored planar: each channel's frames lie
// together, channel after channel. Storage is made once for a frame capacity; the frame
// count can then change within that capacity without allocating, so a host can size a
// buffer once and reuse it for blocks of any length up to the capacity.
template <typename T>
class AudioBuffer {
  public:
    AudioBuffer() = default;
    AudioBuffer(unsigned int numberOfChannels, unsigned int frameCapacity,
                unsigned int sampleRate = 0)
        : samples_(static_cast<std::size_t>(numberOfChannels) * frameCapacity),
          numberOfChannels_(numberOfChannels),
          numberOfFrames_(frameCapacity),
          frameCapacity_(frameCapacity),
          sampleRate_(sampleRate) {}

    unsigned int getSampleRate() const { return sampleRate_; }
    void setSampleRate(unsigned int sampleRate) { sampleRate_ = sampleRate; }
    unsigned int getNumberOfChannels() const { return numberOfChannels_; }
    unsigned int getNumberOfFrames() const { return numberOfFrames_; }
    unsigned int getFrameCapacity() const { return frameCapacity_; }

    // Sets the frame count of the block; refused (false) beyond the capacity.
    bool setNumberOfFrames(unsigned int numberOfFrames) {
        if (numberOfFrames > frameCapacity_) return false;
        numberOfFrames_ = numberOfFrames;
        return true;
    }

    T getSample(unsigned int channel, unsigned int frame) const {
        return samples_[index(channel, frame)];
    }
    void setSample(unsigned int channel, unsigned int frame, T value) {
        samples_[index(channel, frame)] = value;
    }

    // The frames of one channel, contiguous.
    T* getChannel(unsigned int channel) { return samples_.data() + index(channel, 0); }
    const T* getChannel(unsigned int channel) const { return samples_.data() + index(channel, 0); }

    // Sets every sample of the capacity to zero.
    void clear() { std::fill(samples_.begin(), samples_.end(), T{}); }

  private:
    std::size_t index(unsigned int channel, unsigned int frame) const {
        return static_cast<std::size_t>(channel) * frameCapacity_ + frame;
    }

    std::vector<T> samples_;
    unsigned int numberOfChannels_ = 0;
    unsigned int numberOfFrames_ = 0;
    unsigned int frameCapacity_ = 0;
    unsigned int sampleRate_ = 0;
};

}  // namespace ostrana
