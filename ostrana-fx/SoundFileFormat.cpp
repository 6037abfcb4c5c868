#include "SoundFileFormat.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <utility>

#include "CommandError.h"
#include "StoredRate.h"
#include "TextList.h"

namespace ostrana::fx {

namespace {

struct NamedFormat {
    const char* name;
    int format;
};

// Extensions people use beside the ones libsndfile reports for its containers.
constexpr std::array<NamedFormat, 8> kContainerAliases = {{
    {"aif", SF_FORMAT_AIFF},
    {"aifc", SF_FORMAT_AIFF},
    {"wave", SF_FORMAT_WAV},
    {"ogg", SF_FORMAT_OGG},
    {"opus", SF_FORMAT_OGG},
    {"snd", SF_FORMAT_AU},
    {"mp3", SF_FORMAT_MPEG},
    {"rf64", SF_FORMAT_RF64},
}};

constexpr std::array<NamedFormat, 7> kEncodings = {{
    {"float", SF_FORMAT_FLOAT},
    {"double", SF_FORMAT_DOUBLE},
    {"pcm16", SF_FORMAT_PCM_16},
    {"pcm24", SF_FORMAT_PCM_24},
    {"pcm32", SF_FORMAT_PCM_32},
    {"pcm8", SF_FORMAT_PCM_S8},
    {"u8", SF_FORMAT_PCM_U8},
}};

// Tried in this order when the input's encoding does not fit the container.
constexpr std::array<int, 6> kFallbackEncodings = {SF_FORMAT_FLOAT,  SF_FORMAT_PCM_24,
                                                   SF_FORMAT_PCM_16, SF_FORMAT_VORBIS,
                                                   SF_FORMAT_OPUS,   SF_FORMAT_MPEG_LAYER_III};

std::string lowerCase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// Containers libsndfile lists but that render does not offer: SD2 cannot be written on this
// platform, and ".mpc" means Musepack to most people, not the Akai MPC 2000 format
// libsndfile would write.
bool offered(const std::string& extension) {
    return extension != "sd2" && extension != "mpc";
}

// libsndfile's writable containers with the extension it gives each.
std::vector<std::pair<std::string, int>> libraryContainers() {
    std::vector<std::pair<std::string, int>> containers;
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
    for (int i = 0; i < count; ++i) {
        SF_FORMAT_INFO info{};
        info.format = i;
        sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &info, sizeof info);
        if (info.extension != nullptr && offered(info.extension)) {
            containers.emplace_back(info.extension, info.format);
        }
    }
    return containers;
}

bool libraryAccepts(int format, unsigned int channels, unsigned int sampleRate) {
    SF_INFO info{};
    info.format = format;
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    return sf_format_check(&info) == SF_TRUE;
}

// Whether a file of the format reads back at the rate it was made at. A headerless file
// holds no rate, and a compressed encoding runs at its codec's own rates.
bool keepsRate(int format, unsigned int channels, unsigned int sampleRate) {
    if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RAW || !SoundFileFormat::isLinear(format)) {
        return true;
    }
    return StoredRate::readBack(format, channels, sampleRate) == sampleRate;
}

// Whether a file of the format holds the audio as it is, at its own rate.
bool fits(int format, unsigned int channels, unsigned int sampleRate) {
    return libraryAccepts(format, channels, sampleRate) && keepsRate(format, channels, sampleRate);
}

// libsndfile's name of a container or an encoding: "WAV (Microsoft)", "32 bit float".
std::string formatName(int format) {
    SF_FORMAT_INFO info{};
    info.format = format;
    sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info);
    return info.name != nullptr ? info.name : "unknown";
}

// The input's encoding where the output may follow it: a linear one (PCM or float) as it is; a
// compressed one (MP3, Vorbis, ALAC, A-law...) only into its own container, else the linear
// encoding nearest to it (16 bits for the lossy ones: an MP3 into a WAV gives 16-bit PCM).
int nearestLinear(int inputFormat, int container) {
    const int encoding = inputFormat & SF_FORMAT_SUBMASK;
    if (encoding == 0 || SoundFileFormat::isLinear(inputFormat)) return encoding;
    if ((inputFormat & SF_FORMAT_TYPEMASK) == container) return encoding;
    switch (SoundFileFormat::sourceBits(inputFormat)) {
        case 24:
        case 20:
            return SF_FORMAT_PCM_24;
        case 32:
            return SF_FORMAT_PCM_32;
        default:
            return SF_FORMAT_PCM_16;
    }
}

// A path's extension without its dot; "" for standard output and paths without one.
std::string extensionOf(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (path == "-" || extension.size() < 2) return "";
    return extension.substr(1);
}

// Opus runs at five rates only; libsndfile says so only once the file is being made.
void checkOpusRate(unsigned int sampleRate) {
    for (const unsigned int rate : {8000u, 12000u, 16000u, 24000u, 48000u}) {
        if (sampleRate == rate) return;
    }
    throw CommandError::usage("Opus runs at 8, 12, 16, 24 or 48 kHz, not " +
                              std::to_string(sampleRate) +
                              " Hz; resample the input first (sox IN -r 48k OUT) or choose "
                              "another format (.ogg holds Vorbis at any rate)");
}

// A format whose header would give the file another rate than the audio's (so that it plays
// at the wrong speed and pitch) is refused, naming the rate it would have. requested: the user
// named the sample format with --format.
void refuseChangedRate(int format, unsigned int channels, unsigned int sampleRate, bool requested) {
    if (!libraryAccepts(format, channels, sampleRate)) return;
    if (keepsRate(format, channels, sampleRate)) return;
    const unsigned int stored = StoredRate::readBack(format, channels, sampleRate);
    if (stored == 0) return;  // it cannot be made at all, which the caller says
    throw CommandError::usage(
        std::string(requested ? "--format: " : "") + formatName(format & SF_FORMAT_TYPEMASK) +
        " files of " + formatName(format & SF_FORMAT_SUBMASK) + " samples cannot say " +
        std::to_string(sampleRate) + " Hz (the file would say " + std::to_string(stored) +
        " Hz, and play at the wrong speed); " +
        (requested ? "choose another --format" : "resample the input or choose another format"));
}

}  // namespace

int SoundFileFormat::containerFor(const std::string& name) {
    const std::string wanted = lowerCase(name);
    for (const NamedFormat& alias : kContainerAliases) {
        if (wanted == alias.name) return alias.format;
    }
    for (const auto& [extension, format] : libraryContainers()) {
        if (wanted == extension) return format;
    }
    return 0;
}

std::vector<std::string> SoundFileFormat::containerNames() {
    std::vector<std::string> names;
    for (const auto& container : libraryContainers()) names.push_back(container.first);
    for (const NamedFormat& alias : kContainerAliases) names.emplace_back(alias.name);
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

int SoundFileFormat::containerForPath(const std::string& path, const std::string& typeName) {
    if (!typeName.empty()) {
        const int container = containerFor(typeName);
        if (container == 0) {
            throw CommandError::usage("--type '" + typeName +
                                      "': not a format ostrana-fx can "
                                      "write; formats: " +
                                      TextList::join(containerNames()));
        }
        // A name whose extension says another format would hold what it does not say.
        const std::string named = extensionOf(path);
        const int namedContainer = named.empty() ? 0 : containerFor(named);
        if (namedContainer != 0 && (namedContainer != container ||
                                    encodingForPath(path, "") != encodingForPath("", typeName))) {
            throw CommandError::usage("--type " + typeName + " for output '" + path +
                                      "', whose extension says ." + named +
                                      "; rename the output or leave --type out");
        }
        return container;
    }
    const std::string extension = extensionOf(path);
    if (extension.empty()) return SF_FORMAT_WAV;
    const int container = containerFor(extension);
    if (container == 0) {
        throw CommandError::usage("output '" + path + "': cannot write '." + extension +
                                  "' files; use one of " + TextList::join(containerNames()) +
                                  " (or --type to name the format)");
    }
    return container;
}

int SoundFileFormat::encodingForPath(const std::string& path, const std::string& typeName) {
    const std::string name = lowerCase(typeName.empty() ? extensionOf(path) : typeName);
    return name == "opus" ? SF_FORMAT_OPUS : 0;
}

int SoundFileFormat::encodingFor(const std::string& name) {
    for (const NamedFormat& encoding : kEncodings) {
        if (lowerCase(name) == encoding.name) return encoding.format;
    }
    return 0;
}

std::vector<std::string> SoundFileFormat::encodingNames() {
    std::vector<std::string> names;
    for (const NamedFormat& encoding : kEncodings) names.emplace_back(encoding.name);
    return names;
}

int SoundFileFormat::choose(int container, int requestedEncoding, int inputFormat,
                            unsigned int channels, unsigned int sampleRate) {
    // Integer WAVs of more than two channels are written as WAVE_FORMAT_EXTENSIBLE, with a
    // channel mask. Float WAVs stay plain: their header is completed when the file is
    // finished (see FloatWavHeader), and SoX warns about the extensible float header.
    const auto withContainer = [&](int encoding) {
        const bool extensible = container == SF_FORMAT_WAV && channels > 2 &&
                                encoding != SF_FORMAT_FLOAT && encoding != SF_FORMAT_DOUBLE;
        return (extensible ? SF_FORMAT_WAVEX : container) | encoding;
    };
    if (requestedEncoding == SF_FORMAT_OPUS) checkOpusRate(sampleRate);
    if (requestedEncoding != 0) {
        refuseChangedRate(withContainer(requestedEncoding), channels, sampleRate, true);
        if (!fits(withContainer(requestedEncoding), channels, sampleRate)) {
            throw CommandError::usage("--format: " + formatName(container) + " files cannot hold " +
                                      formatName(requestedEncoding) + " samples with " +
                                      std::to_string(channels) + " channels at " +
                                      std::to_string(sampleRate) + " Hz");
        }
        return withContainer(requestedEncoding);
    }
    const int inputEncoding = nearestLinear(inputFormat, container);
    if (inputEncoding != 0 && fits(withContainer(inputEncoding), channels, sampleRate)) {
        return withContainer(inputEncoding);
    }
    for (int encoding : kFallbackEncodings) {
        if (fits(withContainer(encoding), channels, sampleRate)) return withContainer(encoding);
    }
    for (int encoding : kFallbackEncodings) {
        refuseChangedRate(withContainer(encoding), channels, sampleRate, false);
    }
    throw CommandError::usage(formatName(container) + " files cannot hold " +
                              std::to_string(channels) + " channels at " +
                              std::to_string(sampleRate) + " Hz");
}

int SoundFileFormat::withLayout(int format, bool hasLayout) {
    if (!hasLayout || (format & SF_FORMAT_TYPEMASK) != SF_FORMAT_WAV) return format;
    return SF_FORMAT_WAVEX | (format & SF_FORMAT_SUBMASK);
}

int SoundFileFormat::forSize(int format, std::uint64_t frames, unsigned int channels) {
    const int container = format & SF_FORMAT_TYPEMASK;
    if (container != SF_FORMAT_WAV && container != SF_FORMAT_WAVEX) return format;
    // The RIFF size field counts 32 bits of bytes, less the header's and a margin for tags.
    constexpr double kLargestWavData = 4294967295.0 - 1048576.0;
    const double bytes = static_cast<double>(frames) * channels * bytesPerSample(format);
    if (frames != 0 && bytes <= kLargestWavData) return format;
    return SF_FORMAT_RF64 | (format & SF_FORMAT_SUBMASK);
}

bool SoundFileFormat::isLinear(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
        case SF_FORMAT_PCM_16:
        case SF_FORMAT_PCM_24:
        case SF_FORMAT_PCM_32:
        case SF_FORMAT_FLOAT:
        case SF_FORMAT_DOUBLE:
            return true;
        default:
            return false;
    }
}

bool SoundFileFormat::isInteger(int format) {
    const int encoding = format & SF_FORMAT_SUBMASK;
    if (encoding == SF_FORMAT_ULAW || encoding == SF_FORMAT_ALAW) return true;
    return isLinear(format) && encoding != SF_FORMAT_FLOAT && encoding != SF_FORMAT_DOUBLE;
}

unsigned int SoundFileFormat::integerBits(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
            return 8;
        case SF_FORMAT_PCM_16:
            return 16;
        case SF_FORMAT_PCM_24:
            return 24;
        case SF_FORMAT_PCM_32:
            return 32;
        default:
            return 0;
    }
}

unsigned int SoundFileFormat::sourceBits(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_ALAC_16:
            return 16;
        case SF_FORMAT_ALAC_20:
            return 20;
        case SF_FORMAT_ALAC_24:
            return 24;
        case SF_FORMAT_ALAC_32:
            return 32;
        case SF_FORMAT_ULAW:
        case SF_FORMAT_ALAW:
            return 16;
        default:
            return integerBits(format);
    }
}

unsigned int SoundFileFormat::bytesPerSample(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
        case SF_FORMAT_ULAW:
        case SF_FORMAT_ALAW:
            return 1;
        case SF_FORMAT_PCM_16:
            return 2;
        case SF_FORMAT_PCM_24:
            return 3;
        case SF_FORMAT_PCM_32:
        case SF_FORMAT_FLOAT:
            return 4;
        case SF_FORMAT_DOUBLE:
            return 8;
        default:
            return 0;
    }
}

std::vector<std::string> SoundFileFormat::encodingsOf(int container, int only) {
    std::vector<std::string> names;
    for (const NamedFormat& encoding : kEncodings) {
        if (only == 0 && fits(container | encoding.format, 2, 48000)) {
            names.emplace_back(encoding.name);
        }
    }
    // Compressed encodings only in their own containers (libsndfile also puts MP3 in a WAV).
    if (container != SF_FORMAT_OGG && container != SF_FORMAT_MPEG) return names;
    for (const int encoding : {SF_FORMAT_VORBIS, SF_FORMAT_OPUS, SF_FORMAT_MPEG_LAYER_III}) {
        if ((only == 0 || only == encoding) && fits(container | encoding, 2, 48000)) {
            names.push_back(formatName(encoding));
            if (only == 0) break;  // the first one is what the container gets
        }
    }
    return names;
}

std::string SoundFileFormat::containerName(int container) {
    return formatName(container);
}

std::string SoundFileFormat::describe(int format) {
    return formatName(format & SF_FORMAT_TYPEMASK) + ", " + formatName(format & SF_FORMAT_SUBMASK);
}

}  // namespace ostrana::fx
