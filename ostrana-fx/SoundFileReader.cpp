#include "SoundFileReader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "CommandError.h"

namespace ostrana::fx {

namespace {

std::string cannotRead(const std::string& path, const std::string& reason) {
    return "cannot read input '" + path + "': " + reason;
}

}  // namespace

SoundFileReader::SoundFileReader(const std::string& path) : path_(path) {
    checkReadable();
    file_ = sf_open(path.c_str(), SFM_READ, &info_);
    if (file_ == nullptr) throw CommandError::failure(cannotRead(path_, sf_strerror(nullptr)));
    if (info_.channels <= 0 || info_.samplerate <= 0) {
        sf_close(file_);
        file_ = nullptr;
        throw CommandError::failure(cannotRead(path_, "no channels or no sample rate"));
    }
}

SoundFileReader::~SoundFileReader() {
    if (file_ != nullptr) sf_close(file_);
}

// libsndfile's own messages for these cases are vague; say plainly what is wrong.
void SoundFileReader::checkReadable() const {
    struct stat status {};
    if (stat(path_.c_str(), &status) != 0) {
        throw CommandError::failure(cannotRead(path_, std::strerror(errno)));
    }
    if (S_ISDIR(status.st_mode)) throw CommandError::failure(cannotRead(path_, "is a directory"));
    if (access(path_.c_str(), R_OK) != 0) {
        throw CommandError::failure(cannotRead(path_, std::strerror(errno)));
    }
}

unsigned int SoundFileReader::channels() const {
    return static_cast<unsigned int>(info_.channels);
}

unsigned int SoundFileReader::sampleRate() const {
    return static_cast<unsigned int>(info_.samplerate);
}

std::uint64_t SoundFileReader::totalFrames() const {
    return info_.frames > 0 ? static_cast<std::uint64_t>(info_.frames) : 0;
}

std::size_t SoundFileReader::readFrames(float* interleaved, std::size_t maxFrames) {
    const sf_count_t read = sf_readf_float(file_, interleaved, static_cast<sf_count_t>(maxFrames));
    if (read < 0 || sf_error(file_) != SF_ERR_NO_ERROR) {
        throw CommandError::failure(cannotRead(path_, sf_strerror(file_)));
    }
    return static_cast<std::size_t>(read);
}

}  // namespace ostrana::fx
