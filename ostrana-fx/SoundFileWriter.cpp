#include "SoundFileWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "CommandError.h"
#include "InterruptCleanup.h"

namespace ostrana::fx {

SoundFileWriter::SoundFileWriter(const std::string& path, unsigned int channels,
                                 unsigned int sampleRate, OutputFormat format)
    : path_(path) {
    createTemporaryFile();
    SF_INFO info{};
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    info.format = sndfileFormat(format);
    file_ = sf_open(temporaryPath_.c_str(), SFM_WRITE, &info);
    if (file_ == nullptr) {
        const std::string reason = sf_strerror(nullptr);
        discard();
        throw CommandError::failure(cannotWrite(reason));
    }
    // Out-of-range samples clip at full scale in integer formats rather than wrap around.
    sf_command(file_, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    // No PEAK chunk: it carries a time stamp, and the same render should give the same bytes.
    sf_command(file_, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

SoundFileWriter::~SoundFileWriter() {
    discard();
}

int SoundFileWriter::sndfileFormat(OutputFormat format) {
    switch (format) {
        case OutputFormat::Pcm16:
            return SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        case OutputFormat::Pcm24:
            return SF_FORMAT_WAV | SF_FORMAT_PCM_24;
        case OutputFormat::Float:
            break;
    }
    return SF_FORMAT_WAV | SF_FORMAT_FLOAT;
}

std::string SoundFileWriter::cannotWrite(const std::string& reason) const {
    return "cannot write output '" + path_ + "': " + reason;
}

// A hidden, uniquely named file in the destination's directory, so that the final rename
// stays on one file system and so is atomic.
void SoundFileWriter::createTemporaryFile() {
    const std::filesystem::path destination(path_);
    if (destination.filename().empty()) throw CommandError::failure(cannotWrite("no file name"));
    std::filesystem::path directory = destination.parent_path();
    if (directory.empty()) directory = ".";
    // Appended piece by piece: g++ 12 warns falsely (-Wrestrict) on "." + std::string.
    std::string hiddenName(".");
    hiddenName += destination.filename().string();
    hiddenName += ".partial-XXXXXX";
    const std::string pattern = (directory / hiddenName).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) throw CommandError::failure(cannotWrite(std::strerror(errno)));
    temporaryPath_ = name.data();
    InterruptCleanup::track(temporaryPath_);
    close(descriptor);
    // mkstemp makes the file private; give it the permissions a newly created file gets.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(temporaryPath_.c_str(), 0666 & ~mask);
}

void SoundFileWriter::writeFrames(const float* interleaved, std::size_t frames) {
    const sf_count_t count = static_cast<sf_count_t>(frames);
    if (sf_writef_float(file_, interleaved, count) != count) {
        throw CommandError::failure(cannotWrite(sf_strerror(file_)));
    }
}

void SoundFileWriter::commit() {
    SNDFILE* file = file_;
    file_ = nullptr;
    if (sf_close(file) != 0) {
        discard();
        throw CommandError::failure(cannotWrite("the file could not be completed"));
    }
    InterruptCleanup::release();
    if (std::rename(temporaryPath_.c_str(), path_.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        discard();
        throw CommandError::failure(cannotWrite(reason));
    }
    temporaryPath_.clear();
}

void SoundFileWriter::discard() {
    if (file_ != nullptr) {
        sf_close(file_);
        file_ = nullptr;
    }
    if (!temporaryPath_.empty()) {
        InterruptCleanup::release();
        std::remove(temporaryPath_.c_str());
        temporaryPath_.clear();
    }
}

}  // namespace ostrana::fx
