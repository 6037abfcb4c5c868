#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// A block of samples addressed by (channel, frame). Each channel's frames lie together; the
// buffer keeps one pointer per channel to them. Storage is either the buffer's own, made once
// for a frame capacity (channel after channel), or memory the caller owns and attaches channel
// by channel (a view: audio that a plug-in host or an array library already holds, processed
// where it lies). Either way the frame count can change within the capacity, and a view can be
// pointed at other memory, without allocating, so a host can size a buffer once and reuse it
// for blocks of any length up to the capacity.
template <typename T>
class AudioBuffer {
  public:
    AudioBuffer() = default;
    // A buffer with storage of its own, zero-filled.
    AudioBuffer(unsigned int numberOfChannels, unsigned int frameCapacity,
                unsigned int sampleRate = 0)
        : samples_(static_cast<std::size_t>(numberOfChannels) * frameCapacity),
          channels_(numberOfChannels),
          numberOfFrames_(frameCapacity),
          frameCapacity_(frameCapacity),
          sampleRate_(sampleRate) {
        pointAtOwnStorage();
    }

    // A view: numberOfChannels channels of frameCapacity frames each, in memory the caller
    // attaches with attachChannel before use and keeps alive while the buffer uses it.
    static AudioBuffer view(unsigned int numberOfChannels, unsigned int frameCapacity,
                            unsigned int sampleRate = 0) {
        AudioBuffer buffer;
        buffer.isView_ = true;
        buffer.channels_.assign(numberOfChannels, nullptr);
        buffer.numberOfFrames_ = frameCapacity;
        buffer.frameCapacity_ = frameCapacity;
        buffer.sampleRate_ = sampleRate;
        return buffer;
    }

    // A copy holds the same samples: in storage of its own when the original had its own, in
    // the same memory when the original is a view.
    AudioBuffer(const AudioBuffer& other)
        : samples_(other.samples_),
          channels_(other.channels_),
          numberOfFrames_(other.numberOfFrames_),
          frameCapacity_(other.frameCapacity_),
          sampleRate_(other.sampleRate_),
          isView_(other.isView_) {
        if (!isView_) pointAtOwnStorage();
    }
    AudioBuffer& operator=(const AudioBuffer& other) {
        if (this != &other) *this = AudioBuffer(other);
        return *this;
    }
    AudioBuffer(AudioBuffer&&) noexcept = default;
    AudioBuffer& operator=(AudioBuffer&&) noexcept = default;

    // Points a view's channel at frameCapacity frames of the caller's memory. Allocates
    // nothing, so a host may repoint a view for every block on its audio thread.
    void attachChannel(unsigned int channel, T* frames) { channels_[channel] = frames; }
    // Whether the samples lie in the caller's memory.
    bool isView() const { return isView_; }

    unsigned int getSampleRate() const { return sampleRate_; }
    void setSampleRate(unsigned int sampleRate) { sampleRate_ = sampleRate; }
    unsigned int getNumberOfChannels() const { return static_cast<unsigned int>(channels_.size()); }
    unsigned int getNumberOfFrames() const { return numberOfFrames_; }
    unsigned int getFrameCapacity() const { return frameCapacity_; }
    // Sets the frame count of the block; refused (false) beyond the capacity.
    bool setNumberOfFrames(unsigned int numberOfFrames) {
        if (numberOfFrames > frameCapacity_) return false;
        numberOfFrames_ = numberOfFrames;
        return true;
    }

    T getSample(unsigned int channel, unsigned int frame) const {
        return channels_[channel][frame];
    }
    void setSample(unsigned int channel, unsigned int frame, T value) {
        channels_[channel][frame] = value;
    }
    // The frames of one channel, contiguous.
    T* getChannel(unsigned int channel) { return channels_[channel]; }
    const T* getChannel(unsigned int channel) const { return channels_[channel]; }
    // Sets every sample of the capacity to zero.
    void clear() {
        for (T* frames : channels_) std::fill(frames, frames + frameCapacity_, T{});
    }

  private:
    void pointAtOwnStorage() {
        for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
            channels_[channel] = samples_.data() + channel * frameCapacity_;
        }
    }

    std::vector<T> samples_;
    std::vector<T*> channels_;
    unsigned int numberOfFrames_ = 0;
    unsigned int frameCapacity_ = 0;
    unsigned int sampleRate_ = 0;
    bool isView_ = false;
};

}  // namespace ostrana
