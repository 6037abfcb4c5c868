#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "SampleSource.h"

namespace ostrana::fx {

// A mono source heard as two channels: each frame's sample is given to both (--upmix).
class MonoToStereoSource : public SampleSource {
  public:
    explicit MonoToStereoSource(SampleSource& mono);

    unsigned int channels() const override { return 2; }
    unsigned int sampleRate() const override { return mono_.sampleRate(); }
    std::uint64_t totalFrames() const override { return mono_.totalFrames(); }
    std::size_t readFrames(float* interleaved, std::size_t maxFrames) override;

  private:
    SampleSource& mono_;
};

}  // namespace ostrana::fx
