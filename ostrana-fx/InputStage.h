#pragma once

#include <optional>
#include <string>
#include <vector>

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

    // The channels --channels names ("1,3", "2-4"; counted from 1) as 0-based indexes, in
    // the order of the file; empty for all. Throws a usage CommandError for a bad list.
    std::vector<unsigned int> processedChannels(const std::string& list) const;

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
