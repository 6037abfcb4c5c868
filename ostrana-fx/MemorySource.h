#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "SampleSource.h"

namespace ostrana::fx {

// A SampleSource over interleaved samples held in memory; the samples must outlive it.
class MemorySource : public SampleSource {
  public:
    MemorySource(const std::vector<float>& interleaved, unsigned int channels,
                 unsigned int sampleRate);

    unsigned int channels() const override { return channels_; }
    unsigned int sampleRate() const override { return sampleRate_; }
    std::uint64_t totalFrames() const override { return samples_.size() / channels_; }
    std::size_t readFrames(float* interleaved, std::size_t maxFrames) override;

  private:
    const std::vector<float>& samples_;
    unsigned int channels_;
    unsigned int sampleRate_;
    std::size_t nextFrame_ = 0;
};

}  // namespace ostrana::fx
