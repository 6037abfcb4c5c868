#pragma once

#include <string>
#include <vector>

namespace ostrana::fx::testing {

// A sound file's contents as interleaved floats, read or written with libsndfile.
struct WavFile {
    unsigned int channels = 0;
    unsigned int sampleRate = 0;
    int format = 0;  // libsndfile's SF_FORMAT_* bits
    std::vector<float> samples;

    std::size_t frames() const { return channels == 0 ? 0 : samples.size() / channels; }

    // Throws std::runtime_error when the file cannot be read or written.
    static WavFile read(const std::string& path);
    static void write(const std::string& path, unsigned int channels, unsigned int sampleRate,
                      const std::vector<float>& samples, int format);
};

// The raw bytes of a file, for checking that a file was left untouched.
std::string readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);

// The index of the first sample whose bit pattern differs, or -1 when both hold the same
// samples bit for bit (a length mismatch counts at the shorter length).
long firstBitDifference(const std::vector<float>& a, const std::vector<float>& b);

}  // namespace ostrana::fx::testing
