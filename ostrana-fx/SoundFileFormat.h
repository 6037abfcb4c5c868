#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrana::fx {

// The libsndfile format of an output: its container, chosen by the output's file extension
// (or by name, for standard output), and its sample encoding, which follows the input's
// unless the user names one.
class SoundFileFormat {
  public:
    // The container for an extension or type name ("wav", "flac", "ogg", "aiff", ...), in any
    // case; 0 when libsndfile cannot write it.
    static int containerFor(const std::string& name);
    // The container for an output path: its extension's, or WAV for standard output and
    // paths without an extension. Throws a usage CommandError naming the extension when
    // libsndfile cannot write it.
    static int containerForPath(const std::string& path, const std::string& typeName);
    // The encoding an extension or --type asks for by itself: Opus for "opus" (an Ogg
    // container, like "ogg", which holds Vorbis), else 0.
    static int encodingForPath(const std::string& path, const std::string& typeName);
    // Bytes a sample takes in a file of this encoding; 0 for encodings without a fixed size.
    static unsigned int bytesPerSample(int format);
    // The encoding named on the command line ("float", "pcm16", ...), or 0 for an unknown name.
    static int encodingFor(const std::string& name);
    // The names encodingFor knows, for help and messages.
    static std::vector<std::string> encodingNames();
    // The extensions containerFor knows, for messages.
    static std::vector<std::string> containerNames();

    // The full format for a container: the requested encoding if one is given, else the
    // input's, else the first encoding the container takes that keeps the most of it (float,
    // then 24 and 16 bits, then a compressed one). Throws a usage CommandError when the
    // container cannot hold the requested encoding, the channels or the rate.
    static int choose(int container, int requestedEncoding, int inputFormat, unsigned int channels,
                      unsigned int sampleRate);
    // A plain WAV of more than two channels that must carry a speaker layout becomes
    // WAVE_FORMAT_EXTENSIBLE, the WAV that holds one (float WAVs are plain otherwise).
    static int withLayout(int format, bool hasLayout);
    // A WAV format that the output's size could take past the 4 GiB a WAV can describe
    // becomes RF64 (which SoundFileWriter asks to be written as a plain WAV when it turns out
    // small); frames 0 means the size is not known, which counts as large. Other formats
    // come back as they are.
    static int forSize(int format, std::uint64_t frames, unsigned int channels);
    // Whether the encoding is linear: integer PCM or float, not compressed or companded.
    static bool isLinear(int format);
    // Whether the encoding is stored as integers (and so clips beyond full scale).
    static bool isInteger(int format);
    // The bits of a linear integer (PCM) encoding, 0 for any other (float, compressed, A-law).
    static unsigned int integerBits(int format);
    // The bits of precision an input's encoding carries: its integer bits, the bits an ALAC
    // file was made from, 0 for float and for lossy encodings (which decode to float).
    static unsigned int sourceBits(int format);
    // The sample formats a container holds for stereo at 48 kHz, by --format name (or
    // libsndfile's name for compressed ones); only `only` when that is not 0.
    static std::vector<std::string> encodingsOf(int container, int only);
    // libsndfile's name of a container ("WAV (Microsoft)").
    static std::string containerName(int container);
    // "WAV (float)", for messages.
    static std::string describe(int format);
};

}  // namespace ostrana::fx
