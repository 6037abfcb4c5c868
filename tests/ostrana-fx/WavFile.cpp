#include "WavFile.h"

#include <sndfile.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace ostrana::fx::testing {

WavFile WavFile::read(const std::string& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
        throw std::runtime_error("cannot read " + path + ": " + sf_strerror(nullptr));
    WavFile wav;
    wav.channels = static_cast<unsigned int>(info.channels);
    wav.sampleRate = static_cast<unsigned int>(info.samplerate);
    wav.format = info.format;
    wav.samples.resize(static_cast<std::size_t>(info.frames) * wav.channels);
    const sf_count_t read = sf_readf_float(file, wav.samples.data(), info.frames);
    sf_close(file);
    if (read != info.frames) throw std::runtime_error("short read of " + path);
    return wav;
}

void WavFile::write(const std::string& path, unsigned int channels, unsigned int sampleRate,
                    const std::vector<float>& samples, int format) {
    SF_INFO info{};
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr) {
        throw std::runtime_error("cannot write " + path + ": " + sf_strerror(nullptr));
    }
    const sf_count_t frames = static_cast<sf_count_t>(samples.size() / channels);
    const sf_count_t written = sf_writef_float(file, samples.data(), frames);
    sf_close(file);
    if (written != frames) throw std::runtime_error("short write of " + path);
}

std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

long firstBitDifference(const std::vector<float>& a, const std::vector<float>& b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (std::memcmp(&a[i], &b[i], sizeof(float)) != 0) return static_cast<long>(i);
    }
    return a.size() == b.size() ? -1 : static_cast<long>(common);
}

}  // namespace ostrana::fx::testing
