#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "FrameSink.h"
#include "OutputFile.h"
#include "SampleQuantizer.h"
#include "SoundFileStream.h"

namespace ostrana::fx {

// Text tags of a sound file (title, artist, ...), by libsndfile's SF_STR_* number.
using SoundFileTags = std::map<int, std::string>;

// Writes a sound file of interleaved 32-bit float frames in a libsndfile format, through an
// OutputFile: a regular file takes its place only on commit(), and a writer destroyed without
// commit() leaves the destination untouched and nothing behind.
class SoundFileWriter : public FrameSink {
  public:
    // Opens the output; throws a CommandError naming path when it cannot: a usage error when
    // the format needs to seek and the output cannot (a pipe), a failure otherwise. Tags the
    // container cannot hold are left out.
    // Integer PCM formats get their integers from a SampleQuantizer with dither (libsndfile's
    // own conversion rounds towards minus infinity).
    SoundFileWriter(const std::string& path, unsigned int channels, unsigned int sampleRate,
                    int format, const SoundFileTags& tags = {},
                    SampleQuantizer::Dither dither = SampleQuantizer::Dither::None);
    ~SoundFileWriter() override;
    SoundFileWriter(const SoundFileWriter&) = delete;
    SoundFileWriter& operator=(const SoundFileWriter&) = delete;

    // Gives each channel its speaker (SF_CHANNEL_MAP_*), where the container holds a layout;
    // before any frames are written. An empty map leaves libsndfile's default. False where the
    // container cannot record this layout (FLAC, W64, or a layout CAF and AIFF have no tag for).
    bool setChannelMap(const std::vector<int>& map);
    // --quality, 0 to 10 (libsndfile's compression level, reversed: 10 is its level 0): the
    // sound and size of MP3, Vorbis and Opus, how hard FLAC compresses. Before any frames;
    // throws a usage CommandError for other containers.
    void setQuality(double quality);
    // Throws a failure CommandError when the frames cannot all be written.
    void writeFrames(const float* interleaved, std::size_t frames) override;
    // Completes the file and puts it in place; throws a failure CommandError on error.
    void commit();

    const std::string& path() const { return output_.path(); }
    // What of the replaced file's attributes could not be kept; "" when all were.
    const std::string& attributeWarning() const { return output_.attributeWarning(); }
    int format() const { return format_; }
    // Whether the audio goes to standard output ("-", /dev/stdout), which then holds nothing else.
    bool toStandardOutput() const { return output_.standardOutput(); }

  private:
    // Whether libsndfile writes through stream_ rather than a descriptor of its own: always
    // where the output can seek, and for the formats that stream (which libsndfile would
    // otherwise complete with a header rewrite appended to the stream).
    bool throughStream() const;
    void open(SF_INFO& info);
    // Refuses a format that needs a file it can seek in, for an output that is not one.
    [[noreturn]] void refuseStream() const;
    // Throws when the container cannot be left without audio and none was written.
    void checkNotEmpty() const;
    // Writes through the quantizer, a piece at a time; returns the frames written.
    sf_count_t writeQuantized(const float* interleaved, sf_count_t frames);
    // Throws when a write has failed: the system's reason, then libsndfile's error, if any.
    void checkWritten(int libraryError) const;
    std::string cannotWrite(const std::string& reason) const;

    OutputFile output_;
    int format_;
    SoundFileStream stream_;
    SNDFILE* file_ = nullptr;
    unsigned int channels_;
    std::uint64_t framesWritten_ = 0;
    std::optional<SampleQuantizer> quantizer_;
    std::vector<std::int32_t> integers_;  // one piece of quantised frames
};

}  // namespace ostrana::fx
