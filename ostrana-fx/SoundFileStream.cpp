#include "SoundFileStream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ostrana::fx {

namespace {

SoundFileStream& self(void* data) {
    return *static_cast<SoundFileStream*>(data);
}

}  // namespace

SoundFileStream::SoundFileStream(int descriptor, bool seekable)
    : descriptor_(descriptor), seekable_(seekable) {
    if (seekable_) position_ = lseek(descriptor_, 0, SEEK_CUR);
    struct stat status {};
    regular_ = seekable_ && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
}

SF_VIRTUAL_IO& SoundFileStream::callbacks() {
    callbacks_.get_filelen = [](void* data) { return self(data).length(); };
    callbacks_.seek = [](sf_count_t offset, int whence, void* data) {
        return self(data).seek(offset, whence);
    };
    callbacks_.read = [](void* bytes, sf_count_t count, void* data) {
        return self(data).read(bytes, count);
    };
    callbacks_.write = [](const void* bytes, sf_count_t count, void* data) {
        return self(data).write(bytes, count);
    };
    callbacks_.tell = [](void* data) { return self(data).tell(); };
    return callbacks_;
}

std::string SoundFileStream::errorText() const {
    return error_ == 0 ? std::string() : std::string(std::strerror(error_));
}

void SoundFileStream::fail(int error) {
    if (error_ == 0) error_ = error;
}

sf_count_t SoundFileStream::length() const {
    if (!seekable_) return end_;
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) return -1;
    return std::max<sf_count_t>(status.st_size, fileEnd_);
}

bool SoundFileStream::skipZeros(const void* bytes, sf_count_t count) {
    // Only runs as long as a block of the file system are worth a hole (libsndfile writes
    // 8 KiB at a time).
    constexpr sf_count_t kShortestHole = 4096;
    if (!regular_ || count < kShortestHole) return false;
    const auto* words = static_cast<const unsigned char*>(bytes);
    if (words[0] != 0 || std::memcmp(words, words + 1, static_cast<std::size_t>(count - 1)) != 0) {
        return false;
    }
    const off_t after = lseek(descriptor_, static_cast<off_t>(count), SEEK_CUR);
    if (after < 0) return false;
    fileEnd_ = std::max<sf_count_t>(fileEnd_, after);
    return true;
}

bool SoundFileStream::finish() {
    if (!regular_ || error_ != 0) return error_ == 0;
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) {
        fail(errno);
        return false;
    }
    if (status.st_size >= fileEnd_) return true;
    if (ftruncate(descriptor_, static_cast<off_t>(fileEnd_)) != 0) {
        fail(errno);
        return false;
    }
    return true;
}

sf_count_t SoundFileStream::seek(sf_count_t offset, int whence) {
    if (seekable_) return lseek(descriptor_, offset, whence);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position_ : end_;
    position_ = base + offset;
    return position_;
}

sf_count_t SoundFileStream::read(void* bytes, sf_count_t count) {
    if (!seekable_) return 0;  // nothing written can be read back from a stream
    const ssize_t got = ::read(descriptor_, bytes, static_cast<size_t>(count));
    return got < 0 ? 0 : got;
}

sf_count_t SoundFileStream::write(const void* bytes, sf_count_t count) {
    if (!seekable_ && position_ != end_) {
        position_ += count;  // behind the end of a stream: already gone, dropped
        return count;
    }
    if (skipZeros(bytes, count)) return count;
    const char* next = static_cast<const char*>(bytes);
    sf_count_t done = 0;
    while (done < count) {
        const ssize_t wrote = ::write(descriptor_, next + done, static_cast<size_t>(count - done));
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) {
            fail(wrote < 0 ? errno : ENOSPC);
            break;
        }
        done += wrote;
    }
    position_ += done;
    if (!seekable_) end_ = position_;
    if (regular_) fileEnd_ = std::max<sf_count_t>(fileEnd_, lseek(descriptor_, 0, SEEK_CUR));
    return done;
}

sf_count_t SoundFileStream::tell() const {
    return seekable_ ? lseek(descriptor_, 0, SEEK_CUR) : position_;
}

}  // namespace ostrana::fx
