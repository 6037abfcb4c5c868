#pragma once

#include <cstddef>
#include <cstdint>

#include "SampleSource.h"

namespace ostrana::fx {

// The part of a source that --trim keeps (from a start, for a length), faded in and out
// (--fade-in, --fade-out) with half a cosine, so that the effects hear the shaped input and
// their echoes of a faded end ring out as they would.
class ShapedSource : public SampleSource {
  public:
    struct Shape {
        std::uint64_t startFrame = 0;
        std::uint64_t lengthFrames = 0;  // 0: to the end
        std::uint64_t fadeInFrames = 0;
        std::uint64_t fadeOutFrames = 0;
    };

    // The fade-out needs the kept length: from lengthFrames, or the source's total.
    ShapedSource(SampleSource& source, Shape shape);

    unsigned int channels() const override { return source_.channels(); }
    unsigned int sampleRate() const override { return source_.sampleRate(); }
    std::uint64_t totalFrames() const override { return keptFrames_; }
    std::size_t readFrames(float* interleaved, std::size_t maxFrames) override;

  private:
    void skipToStart(float* scratch, std::size_t scratchFrames);
    void fade(float* interleaved, std::size_t frames) const;

    SampleSource& source_;
    Shape shape_;
    std::uint64_t keptFrames_ = 0;  // 0 when not known
    std::uint64_t position_ = 0;    // frames given so far
    bool started_ = false;
};

}  // namespace ostrana::fx
