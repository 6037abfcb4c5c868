#pragma once

#include <optional>
#include <string>

#include "MonoToStereoSource.h"
#include "RenderOptions.h"
#include "ShapedSource.h"
#include "SoundFileReader.h"

namespace ostrana::fx {

// An input as the chain hears it: the file read, duplicated to two channels (--upmix), trimmed
// and faded (--trim, --fade-in, --fade-out). Refuses, as usage errors, what cannot apply to
// this input.
class InputStage {
  public:
    InputStage(const RenderOptions& options, const std::string& path);
    InputStage(const InputStage&) = delete;
    InputStage& operator=(const InputStage&) = delete;

    SoundFileReader& reader() { return reader_; }
    const SoundFileReader& reader() const { return reader_; }
    SampleSource& source() { return *shaped_; }
    bool upmixed() const { return upmixed_.has_value(); }

  private:
    ShapedSource::Shape shape(const RenderOptions& options) const;

    SoundFileReader reader_;
    std::optional<MonoToStereoSource> upmixed_;
    std::optional<ShapedSource> shaped_;
};

}  // namespace ostrana::fx
