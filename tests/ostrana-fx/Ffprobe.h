#pragma once

#include <map>
#include <string>
#include <vector>

namespace ostrana::fx::testing {

// What FFmpeg's ffprobe says of the first audio stream of a file or of a pipe: the header's
// fields (codec_name, sample_rate, channels, bits_per_raw_sample, duration_ts, time_base and
// the container's format_name) and, when asked to decode, the frames it decoded.
struct ProbeReport {
    int exitStatus = -1;
    std::string errors;  // what ffprobe printed at its "error" level; "" for a clean read
    std::map<std::string, std::string> fields;
    long long decodedFrames = -1;  // -1 when not decoded

    std::string field(const std::string& name) const;
    long long number(const std::string& name) const;  // -1 when absent or N/A
    // The length the header gives, in frames at the stream's rate; -1 when it gives none.
    long long reportedFrames() const;
};

class Ffprobe {
  public:
    // Whether ffprobe is on PATH (scripts/install-deps.sh installs it with Debian's ffmpeg).
    static bool installed();
    // Probes a file; readAs names a headerless file's layout ("-f", "s16le", "-ar", ...).
    // Decoding reads the whole file.
    static ProbeReport file(const std::string& path, bool decode,
                            const std::vector<std::string>& readAs = {});
    // Probes what a shell command writes to its standard output, read through a pipe.
    static ProbeReport pipe(const std::string& producer, const std::string& scratchDirectory,
                            bool decode, const std::vector<std::string>& readAs = {});
    // The message for a test that needs ffprobe where it is missing.
    static const char* missing();

  private:
    static ProbeReport run(const std::string& commandLine, const std::string& scratchDirectory);
    static std::string options(bool decode, const std::vector<std::string>& readAs);
};

}  // namespace ostrana::fx::testing
