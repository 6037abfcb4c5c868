#include "SoundFileWriter.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "CommandError.h"
#include "FloatWavHeader.h"
#include "SoundFileFormat.h"

namespace ostrana::fx {

SoundFileWriter::SoundFileWriter(const std::string& path, unsigned int channels,
                                 unsigned int sampleRate, int format, const SoundFileTags& tags)
    : output_(path), format_(format) {
    SF_INFO info{};
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    info.format = format;
    // libsndfile gets a descriptor of its own, which it closes (also when it fails to open).
    const bool seekable = output_.seekable();
    const int descriptor = dup(output_.descriptor());
    if (descriptor < 0) throw CommandError::failure(cannotWrite(std::strerror(errno)));
    file_ = sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE);
    if (file_ == nullptr) {
        const std::string reason = sf_strerror(nullptr);
        if (!seekable) {
            throw CommandError::usage(
                "cannot write " + SoundFileFormat::describe(format) + " to " + output_.kindText() +
                ": the format needs a file it can seek in; formats that "
                "stream: au, flac, ogg, mp3, raw (choose one with --type, e.g. --type flac)");
        }
        throw CommandError::failure(cannotWrite(reason));
    }
    // Out-of-range samples clip at full scale in integer formats rather than wrap around.
    sf_command(file_, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    // No PEAK chunk: it carries a time stamp, and the same render should give the same bytes.
    sf_command(file_, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    for (const auto& [kind, text] : tags) sf_set_string(file_, kind, text.c_str());
}

SoundFileWriter::~SoundFileWriter() {
    if (file_ != nullptr) sf_close(file_);
}

std::string SoundFileWriter::cannotWrite(const std::string& reason) const {
    return "cannot write output '" + output_.path() + "': " + reason;
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
        throw CommandError::failure(cannotWrite("the file could not be completed"));
    }
    if ((format_ & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV && output_.seekable()) {
        FloatWavHeader::addExtensionSize(output_.descriptor());
    }
    output_.commit();
}

}  // namespace ostrana::fx
