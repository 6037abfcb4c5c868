#pragma once

#include <cstddef>

namespace ostrana::fx {

// Where a render's output frames go: a sound file, or nowhere (a pass that only measures).
class FrameSink {
  public:
    virtual ~FrameSink() = default;
    // Takes interleaved frames; throws a CommandError when they cannot be written.
    virtual void writeFrames(const float* interleaved, std::size_t frames) = 0;
};

// Drops every frame: the first pass of --normalize only measures the output's peak.
class DiscardingSink : public FrameSink {
  public:
    void writeFrames(const float*, std::size_t) override {}
};

}  // namespace ostrana::fx
