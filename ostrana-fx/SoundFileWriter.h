#pragma once

#include <sndfile.h>

#include <cstddef>
#include <string>

namespace ostrana::fx {

// Sample formats of the WAV files ostrana-fx writes.
enum class OutputFormat { Float, Pcm16, Pcm24 };

// Writes a WAV file of interleaved 32-bit float frames. The samples go to a temporary file
// beside the destination, which takes the destination's place only on commit(): until then
// an existing file at the destination is untouched, and a writer destroyed without commit()
// removes its temporary file, so a failed render leaves nothing behind.
class SoundFileWriter {
  public:
    // Creates the temporary file; throws a failure CommandError naming path when it cannot.
    SoundFileWriter(const std::string& path, unsigned int channels, unsigned int sampleRate,
                    OutputFormat format);
    ~SoundFileWriter();
    SoundFileWriter(const SoundFileWriter&) = delete;
    SoundFileWriter& operator=(const SoundFileWriter&) = delete;

    // Throws a failure CommandError when the frames cannot all be written.
    void writeFrames(const float* interleaved, std::size_t frames);
    // Completes the file and renames it into place; throws a failure CommandError on error.
    void commit();

    const std::string& path() const { return path_; }

  private:
    static int sndfileFormat(OutputFormat format);
    void createTemporaryFile();
    void discard();
    std::string cannotWrite(const std::string& reason) const;

    std::string path_;
    std::string temporaryPath_;
    SNDFILE* file_ = nullptr;
};

}  // namespace ostrana::fx
