#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "SampleSource.h"
#include "SoundFileWriter.h"

namespace ostrana::fx {

// Reads a sound file (WAV, FLAC, AIFF, Ogg and whatever else libsndfile knows) as
// interleaved 32-bit float frames; "-" reads standard input.
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
    // libsndfile's format of the file (container and encoding).
    int format() const { return info_.format; }
    // The file's text tags.
    SoundFileTags tags() const;
    // The speaker of each channel (SF_CHANNEL_MAP_*) where the file says, else empty.
    std::vector<int> channelMap() const;
    // How many frames the file's header promised when the file is shorter than that (its
    // data cut off), else 0.
    std::uint64_t promisedFrames() const { return promisedFrames_; }
    std::uint64_t framesRead() const { return framesRead_; }

    // The highest sample rate read (a header beyond it is taken as damaged).
    static constexpr unsigned int kHighestSampleRate = 768000;

  private:
    void checkReadable() const;
    void checkSampleRate();
    void openStandardInput();
    void readPromisedFrames();

    std::string path_;
    SF_INFO info_{};
    SNDFILE* file_ = nullptr;
    std::uint64_t framesRead_ = 0;
    std::uint64_t promisedFrames_ = 0;
};

}  // namespace ostrana::fx
