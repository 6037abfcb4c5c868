#include "SoundFileWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "CommandError.h"
#include "FloatWavHeader.h"
#include "SoundFileFormat.h"

namespace ostrana::fx {

namespace {

constexpr std::size_t kPieceFrames = 4096;

// Whether libsndfile writes a format into a pipe, tried on a pipe of the program's own: some
// formats (AIFF) write their header before they find that they cannot, which on the real
// output would leave it in the user's pipe after the refusal.
bool pipeTakes(SF_INFO info) {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) return true;  // the real open decides
    // libsndfile closes the writing end, also when it fails to open.
    SNDFILE* file = sf_open_fd(ends[1], SFM_WRITE, &info, SF_TRUE);
    if (file != nullptr) sf_close(file);
    close(ends[0]);
    return file != nullptr;
}

}  // namespace

SoundFileWriter::SoundFileWriter(const std::string& path, unsigned int channels,
                                 unsigned int sampleRate, int format, const SoundFileTags& tags,
                                 SampleQuantizer::Dither dither)
    : output_(path),
      format_(format),
      stream_(output_.descriptor(), output_.seekable()),
      channels_(channels) {
    const unsigned int bits = SoundFileFormat::integerBits(format);
    if (bits > 0) {
        quantizer_.emplace(bits, dither);
        integers_.resize(kPieceFrames * channels);
    }
    SF_INFO info{};
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    info.format = format;
    open(info);
    // RF64 only where the file grows past 4 GiB; a plain WAV otherwise.
    if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RF64) {
        sf_command(file_, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    }
    // Out-of-range samples clip at full scale in integer formats rather than wrap around.
    sf_command(file_, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    // No PEAK chunk: it carries a time stamp, and the same render should give the same bytes.
    sf_command(file_, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    for (const auto& [kind, text] : tags) sf_set_string(file_, kind, text.c_str());
}

bool SoundFileWriter::throughStream() const {
    if (output_.seekable()) return true;
    switch (format_ & SF_FORMAT_TYPEMASK) {
        case SF_FORMAT_FLAC:
        case SF_FORMAT_OGG:
        case SF_FORMAT_MPEG:
            return true;
        default:
            return false;
    }
}

void SoundFileWriter::open(SF_INFO& info) {
    if (!output_.seekable() && !throughStream() && !pipeTakes(info)) refuseStream();
    if (throughStream()) {
        file_ = sf_open_virtual(&stream_.callbacks(), SFM_WRITE, &info, &stream_);
    } else {
        // libsndfile gets a descriptor of its own, which it closes (also when it fails to open),
        // and finds for itself that it writes a pipe.
        const int descriptor = dup(output_.descriptor());
        if (descriptor < 0) throw CommandError::failure(cannotWrite(std::strerror(errno)));
        file_ = sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE);
    }
    if (file_ != nullptr) return;
    const std::string reason = sf_strerror(nullptr);
    if (!output_.seekable()) refuseStream();
    checkWritten(sf_error(nullptr));
    throw CommandError::failure(cannotWrite(reason));
}

void SoundFileWriter::refuseStream() const {
    throw CommandError::usage("cannot write " + SoundFileFormat::describe(format_) + " to " +
                              output_.kindText() +
                              ": the format needs a file it can seek in; formats that "
                              "stream: au, flac, ogg, mp3, raw (choose one with --type, e.g. "
                              "--type flac)");
}

SoundFileWriter::~SoundFileWriter() {
    if (file_ != nullptr) sf_close(file_);
}

std::string SoundFileWriter::cannotWrite(const std::string& reason) const {
    return "cannot write output '" + output_.path() + "': " + reason;
}

namespace {

// libsndfile's text for an error number, or "" where it has none worth showing.
std::string libraryText(int error) {
    if (error <= 0) return "";
    const std::string text = sf_error_number(error);
    return text.find("No error defined") == std::string::npos ? text : "";
}

}  // namespace

void SoundFileWriter::checkWritten(int libraryError) const {
    if (stream_.error() == 0) return;
    const std::string library = libraryText(libraryError);
    throw CommandError::failure(cannotWrite(
        stream_.errorText() + (library.empty() ? "" : " (libsndfile: " + library + ")")));
}

bool SoundFileWriter::setChannelMap(const std::vector<int>& map) {
    if (map.size() != channels_) return map.empty();
    std::vector<int> copy = map;
    return sf_command(file_, SFC_SET_CHANNEL_MAP_INFO, copy.data(),
                      static_cast<int>(copy.size() * sizeof(int))) == SF_TRUE;
}

void SoundFileWriter::setQuality(double quality) {
    const int container = format_ & SF_FORMAT_TYPEMASK;
    if (container != SF_FORMAT_FLAC && container != SF_FORMAT_OGG && container != SF_FORMAT_MPEG) {
        throw CommandError::usage("--quality applies to flac, ogg, opus and mp3 output, not to " +
                                  SoundFileFormat::describe(format_));
    }
    double level = 1.0 - quality / 10.0;
    if (sf_command(file_, SFC_SET_COMPRESSION_LEVEL, &level, sizeof level) != SF_TRUE) {
        throw CommandError::failure(cannotWrite("libsndfile refused the quality setting"));
    }
}

void SoundFileWriter::writeFrames(const float* interleaved, std::size_t frames) {
    const sf_count_t count = static_cast<sf_count_t>(frames);
    const sf_count_t written = quantizer_ ? writeQuantized(interleaved, count)
                                          : sf_writef_float(file_, interleaved, count);
    checkWritten(sf_error(file_));
    if (written != count) throw CommandError::failure(cannotWrite(sf_strerror(file_)));
    framesWritten_ += static_cast<std::uint64_t>(written);
}

// libsndfile's FLAC and MP3 encoders write nothing at all until they get audio: an empty
// render would leave a 0-byte file that no player opens.
void SoundFileWriter::checkNotEmpty() const {
    const int container = format_ & SF_FORMAT_TYPEMASK;
    if (framesWritten_ > 0 || (container != SF_FORMAT_FLAC && container != SF_FORMAT_MPEG)) return;
    throw CommandError::failure(
        cannotWrite("no audio to write, and an empty " +
                    std::string(container == SF_FORMAT_FLAC ? "FLAC" : "MP3") +
                    " file cannot be made here; nothing written (WAV, AIFF, CAF, W64, AU and Ogg "
                    "hold an empty file)"));
}

sf_count_t SoundFileWriter::writeQuantized(const float* interleaved, sf_count_t frames) {
    sf_count_t written = 0;
    while (written < frames) {
        const sf_count_t piece = std::min<sf_count_t>(kPieceFrames, frames - written);
        quantizer_->convert(interleaved + written * channels_, integers_.data(),
                            static_cast<std::size_t>(piece) * channels_);
        const sf_count_t done = sf_writef_int(file_, integers_.data(), piece);
        written += done;
        if (done != piece) break;
    }
    return written;
}

void SoundFileWriter::commit() {
    checkNotEmpty();
    SNDFILE* file = file_;
    file_ = nullptr;
    const int closed = sf_close(file);
    stream_.finish();
    checkWritten(closed);
    if (closed != 0) {
        const std::string library = libraryText(closed);
        throw CommandError::failure(cannotWrite("the file could not be completed" +
                                                (library.empty() ? "" : ": " + library)));
    }
    if ((format_ & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV && output_.seekable()) {
        FloatWavHeader::addExtensionSize(output_.descriptor());
    }
    output_.commit();
}

}  // namespace ostrana::fx
