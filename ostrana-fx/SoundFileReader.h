#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "SampleSource.h"

namespace ostrana::fx {

// Reads a sound file (WAV, FLAC, AIFF, Ogg and whatever else libsndfile knows) as
// interleaved 32-bit float frames.
class SoundFileReader : public SampleSource {
  public:
    // Opens path; throws a failure CommandError that names the file when it is missing,
    // unreadable or in a format that cannot be read.
    explicit SoundFileReader(const std::string& path);
    ~SoundFileReader() override;
    SoundFileReader(const SoundFileReader&) = delete;
    SoundFileReader& operator=(const SoundFileReader&) = delete;

    unsigned int channels() const override;
    unsigned int sampleRate() const override;
    std::uint64_t totalFrames() const override;
    std::size_t readFrames(float* interleaved, std::size_t maxFrames) override;

    const std::string& path() const { return path_; }

  private:
    void checkReadable() const;

    std::string path_;
    SF_INFO info_{};
    SNDFILE* file_ = nullptr;
};

}  // namespace ostrana::fx
