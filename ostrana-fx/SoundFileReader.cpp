#include "SoundFileReader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <regex>

#include "CommandError.h"
#include "SoundFileFormat.h"

namespace ostrana::fx {

namespace {

std::string cannotRead(const std::string& path, const std::string& reason) {
    return "cannot read input '" + path + "': " + reason;
}

// Why libsndfile could not open a file, in the tool's words first, then libsndfile's.
std::string openFailure(int error) {
    std::string library = sf_error_number(error);
    while (!library.empty() && (library.back() == '.' || library.back() == ';')) library.pop_back();
    switch (error) {
        case SF_ERR_UNRECOGNISED_FORMAT:
            return "not a sound file in a format libsndfile reads (libsndfile: " + library + ")";
        case SF_ERR_MALFORMED_FILE:
            return "a damaged sound file (libsndfile: " + library + ")";
        case SF_ERR_UNSUPPORTED_ENCODING:
            return "a sound file whose encoding libsndfile cannot read (libsndfile: " + library +
                   ")";
        default:
            return sf_strerror(nullptr);
    }
}

}  // namespace

SoundFileReader::SoundFileReader(const std::string& path) : path_(path) {
    if (path == "-") {
        openStandardInput();
    } else {
        checkReadable();
        file_ = sf_open(path.c_str(), SFM_READ, &info_);
    }
    if (file_ == nullptr) {
        throw CommandError::failure(cannotRead(path_, openFailure(sf_error(nullptr))));
    }
    if (info_.channels <= 0 || info_.samplerate <= 0) {
        sf_close(file_);
        file_ = nullptr;
        throw CommandError::failure(cannotRead(path_, "no channels or no sample rate"));
    }
    checkSampleRate();
    readPromisedFrames();
}

void SoundFileReader::openStandardInput() {
    const bool seekable = lseek(STDIN_FILENO, 0, SEEK_CUR) != static_cast<off_t>(-1);
    file_ = sf_open_fd(STDIN_FILENO, SFM_READ, &info_, SF_FALSE);
    if (file_ == nullptr && !seekable) {
        throw CommandError::usage(cannotRead(
            "standard input", std::string(sf_strerror(nullptr)) +
                                  "; from a pipe, libsndfile reads only formats that stream, "
                                  "such as WAV, AIFF, AU, CAF, W64 or OGG (not FLAC or MP3; "
                                  "give a file name for those)"));
    }
}

// A rate no audio file really has (a damaged header, often) would make the tail and the
// effects' timing absurd: refused before anything is written.
void SoundFileReader::checkSampleRate() {
    if (info_.samplerate <= static_cast<int>(kHighestSampleRate)) return;
    const std::string rate = std::to_string(info_.samplerate);
    sf_close(file_);
    file_ = nullptr;
    throw CommandError::usage("input '" + path_ + "': its sample rate, " + rate +
                              " Hz, is outside 1 Hz to 768 kHz (a damaged header?); nothing "
                              "written");
}

// libsndfile shortens the frame count of a file whose data is cut off and notes the
// header's figure in its log ("data : 192000 (should be 99956)", in bytes).
void SoundFileReader::readPromisedFrames() {
    char log[8192] = {};
    sf_command(file_, SFC_GET_LOG_INFO, log, sizeof log);
    static const std::regex kCutOff(R"((?:data|SSND)\s*:\s*(\d+)\s*\(should be (\d+)\))");
    std::cmatch match;
    if (!std::regex_search(log, match, kCutOff)) return;
    const double promisedBytes = std::stod(match[1].str());
    const double presentBytes = std::stod(match[2].str());
    if (promisedBytes <= presentBytes) return;
    const unsigned int frameBytes = SoundFileFormat::bytesPerSample(info_.format) * channels();
    // A header with no data after it: the frames promised, where their size is known.
    if (info_.frames <= 0 || presentBytes <= 0) {
        if (frameBytes > 0)
            promisedFrames_ = static_cast<std::uint64_t>(promisedBytes / frameBytes);
        return;
    }
    // Where the encoding has no fixed size per sample, the frames in proportion.
    const double promised = frameBytes > 0
                                ? promisedBytes / frameBytes
                                : static_cast<double>(info_.frames) * promisedBytes / presentBytes;
    promisedFrames_ = static_cast<std::uint64_t>(promised);
}

SoundFileTags SoundFileReader::tags() const {
    SoundFileTags tags;
    for (int kind = SF_STR_FIRST; kind <= SF_STR_LAST; ++kind) {
        const char* text = sf_get_string(file_, kind);
        if (text != nullptr && *text != '\0') tags[kind] = text;
    }
    return tags;
}

std::vector<int> SoundFileReader::channelMap() const {
    std::vector<int> map(static_cast<std::size_t>(info_.channels));
    const int bytes = static_cast<int>(map.size() * sizeof(int));
    if (sf_command(file_, SFC_GET_CHANNEL_MAP_INFO, map.data(), bytes) != SF_TRUE) return {};
    return map;
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
    framesRead_ += static_cast<std::uint64_t>(read);
    // A file that ends before the frames its header promised, found only while reading.
    if (read == 0 && promisedFrames_ == 0 && info_.frames > 0 && info_.seekable &&
        framesRead_ < static_cast<std::uint64_t>(info_.frames)) {
        promisedFrames_ = static_cast<std::uint64_t>(info_.frames);
    }
    return static_cast<std::size_t>(read);
}

}  // namespace ostrana::fx
