// FFmpeg reads what the tool writes: every extension `ostrana-fx formats` lists, with each
// sample format it lists, and what goes into a pipe, have the channels, rate, sample format and
// length that were asked for, in ffprobe's eyes as well as libsndfile's.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Ffprobe.h"
#include "FxProcess.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

// What a render was asked for: encoding is a --format name, or the name `formats` gives a
// compressed encoding ("Vorbis").
struct Asked {
    unsigned int channels;
    unsigned int rate;
    long long frames;
    std::string encoding;
};

// An extension with the sample formats `ostrana-fx formats` lists for it.
struct Listed {
    std::string extension;
    std::vector<std::string> encodings;
};

std::vector<Listed> listedFormats() {
    const FxRun run = FxProcess::run({"formats"});
    std::vector<Listed> listed;
    std::istringstream lines(run.out);
    std::string line;
    while (std::getline(lines, line)) {
        const std::size_t colon = line.rfind(": ");
        if (line.rfind("  ", 0) != 0 || colon == std::string::npos) continue;
        Listed entry{line.substr(2, line.find(' ', 2) - 2), {}};
        std::istringstream names(line.substr(colon + 2));
        std::string name;
        while (std::getline(names, name, ','))
            entry.encodings.push_back(name.substr(name[0] == ' '));
        listed.push_back(entry);
    }
    return listed;
}

bool isCompressed(const std::string& encoding) {
    return encoding == "MPEG Layer III" || encoding == "Vorbis" || encoding == "Opus";
}

// ffprobe's codec for an encoding, as the start of its codec_name ("pcm_s16" for pcm_s16le and
// pcm_s16be), and the bits a FLAC file of it stores.
std::pair<std::string, long long> codecOf(const std::string& encoding) {
    static const std::map<std::string, std::pair<std::string, long long>> codecs = {
        {"float", {"pcm_f32", 32}}, {"double", {"pcm_f64", 64}},    {"pcm16", {"pcm_s16", 16}},
        {"pcm24", {"pcm_s24", 24}}, {"pcm32", {"pcm_s32", 32}},     {"pcm8", {"pcm_s8", 8}},
        {"u8", {"pcm_u8", 8}},      {"MPEG Layer III", {"mp3", 0}}, {"Vorbis", {"vorbis", 0}},
        {"Opus", {"opus", 0}},
    };
    const auto found = codecs.find(encoding);
    return found == codecs.end() ? std::pair<std::string, long long>{"?" + encoding, 0}
                                 : found->second;
}

// How ffprobe is to read a headerless file of an encoding.
std::vector<std::string> rawLayout(const Asked& asked) {
    static const std::map<std::string, std::string> layouts = {
        {"float", "f32le"}, {"double", "f64le"}, {"pcm16", "s16le"}, {"pcm24", "s24le"},
        {"pcm32", "s32le"}, {"pcm8", "s8"},      {"u8", "u8"}};
    return {"-f",           layouts.at(asked.encoding),
            "-sample_rate", std::to_string(asked.rate),
            "-ch_layout",   asked.channels == 1 ? "mono" : "stereo"};
}

void expectCodec(const ProbeReport& probe, const Asked& asked, const std::string& label) {
    const auto [codec, bits] = codecOf(asked.encoding);
    if (probe.field("format_name") == "flac") {
        EXPECT_EQ(probe.field("codec_name"), "flac") << label;
        EXPECT_EQ(probe.number("bits_per_raw_sample"), bits) << label;
        return;
    }
    EXPECT_EQ(probe.field("codec_name").rfind(codec, 0), 0u)
        << label << ": codec " << probe.field("codec_name") << ", asked " << asked.encoding;
}

// The length the header gives, by what the container and codec can say: an MP3's whole frames
// include the encoder's delay and padding (which decoders trim by the LAME tag at its start),
// an Opus stream's granules the decoder's pre-skip, and a VOC header gives no length (ffprobe
// guesses one from the file's size). Through a pipe, a header cannot be completed, so it may
// give no length; what a decoder gets is then the measure.
void expectReportedLength(const ProbeReport& probe, const Asked& asked, bool throughPipe,
                          const std::string& label) {
    const long long reported = probe.reportedFrames();
    const std::string codec = probe.field("codec_name");
    if (throughPipe && reported < 0) return;
    if (codec == "mp3") {
        EXPECT_GE(reported, asked.frames) << label;
        EXPECT_LT(reported, asked.frames + 2 * 1152) << label;
    } else if (codec == "opus") {
        EXPECT_GE(reported, asked.frames) << label;
        EXPECT_LT(reported, asked.frames + asked.rate / 50) << label;
    } else if (probe.field("format_name") != "voc") {
        EXPECT_EQ(reported, asked.frames) << label;
    }
}

// What the decoder gets. FFmpeg's Vorbis decoder does not trim the first and last blocks to
// the stream's granule positions (a 4800-frame file of SoX's or FFmpeg's own decodes as 4672
// frames), so a Vorbis stream's length is its granules' (above). A streamed MP3 has no LAME
// tag, so its decoder cannot trim the encoder's delay, padding and the empty first frame.
void expectDecodedLength(const ProbeReport& probe, const Asked& asked, bool throughPipe,
                         const std::string& label) {
    const std::string codec = probe.field("codec_name");
    if (probe.decodedFrames < 0 || codec == "vorbis") return;
    if (codec == "mp3" && throughPipe) {
        EXPECT_GE(probe.decodedFrames, asked.frames) << label;
        EXPECT_LT(probe.decodedFrames, asked.frames + 3 * 1152) << label;
        return;
    }
    EXPECT_EQ(probe.decodedFrames, asked.frames) << label;
}

void expectReadAsAsked(const ProbeReport& probe, const Asked& asked, bool throughPipe,
                       const std::string& label) {
    EXPECT_EQ(probe.exitStatus, 0) << label << ": " << probe.errors;
    EXPECT_EQ(probe.errors, "") << label;
    EXPECT_EQ(probe.number("channels"), asked.channels) << label;
    EXPECT_EQ(probe.number("sample_rate"), asked.rate) << label;
    expectCodec(probe, asked, label);
    expectReportedLength(probe, asked, throughPipe, label);
    expectDecodedLength(probe, asked, throughPipe, label);
}

// What FFmpeg 5.1 cannot read at all: it has no MAT demuxer, and its Ensoniq PARIS reader
// stops at 24-bit files ("24-bit Paris PCM format" is not implemented). libsndfile and SoX
// read these.
bool ffmpegCannotRead(const std::string& extension, const std::string& encoding) {
    return extension == "mat" || (extension == "paf" && encoding == "pcm24");
}

// libsndfile's encoding for a --format name.
int libraryEncoding(const std::string& encoding) {
    static const std::map<std::string, int> encodings = {
        {"float", SF_FORMAT_FLOAT},  {"double", SF_FORMAT_DOUBLE}, {"pcm16", SF_FORMAT_PCM_16},
        {"pcm24", SF_FORMAT_PCM_24}, {"pcm32", SF_FORMAT_PCM_32},  {"pcm8", SF_FORMAT_PCM_S8},
        {"u8", SF_FORMAT_PCM_U8}};
    return encodings.at(encoding);
}

class FxFfprobeTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(Ffprobe::installed()) << Ffprobe::missing(); }

    // A 16-bit input of the asked channels and rate.
    std::string input(const Asked& asked) const {
        const std::string path = directory.file("in-" + std::to_string(asked.channels) + "-" +
                                                std::to_string(asked.rate) + ".wav");
        if (!std::filesystem::exists(path)) {
            WavFile::write(
                path, asked.channels, asked.rate,
                makeTestSignal(asked.channels, static_cast<std::size_t>(asked.frames), asked.rate),
                SF_FORMAT_WAV | SF_FORMAT_PCM_16);
        }
        return path;
    }

    FxRun render(const Asked& asked, const std::string& out) const {
        std::vector<std::string> arguments{"render", input(asked), out,      "--quiet",
                                           "--tail", "0",          "--node", "delay"};
        if (!isCompressed(asked.encoding)) {
            arguments.insert(arguments.end(), {"--format", asked.encoding});
        }
        return FxProcess::run(arguments);
    }

    // Renders into the extension and checks what ffprobe (or, where FFmpeg has no reader,
    // libsndfile) reads.
    void renderAndProbe(const std::string& extension, const Asked& asked) const {
        const std::string name = asked.encoding + "-" + std::to_string(asked.channels) + "ch-" +
                                 std::to_string(asked.rate) + "." + extension;
        const std::string out = directory.file(name);
        const FxRun run = render(asked, out);
        ASSERT_EQ(run.exitStatus, 0) << name << ": " << run.err;
        if (ffmpegCannotRead(extension, asked.encoding)) {
            const WavFile file = WavFile::read(out);
            EXPECT_EQ(file.channels, asked.channels) << name;
            EXPECT_EQ(file.sampleRate, asked.rate) << name;
            EXPECT_EQ(static_cast<long long>(file.frames()), asked.frames) << name;
            EXPECT_EQ(file.format & SF_FORMAT_SUBMASK, libraryEncoding(asked.encoding)) << name;
            return;
        }
        const bool raw = extension == "raw";
        const ProbeReport probe =
            Ffprobe::file(out, true, raw ? rawLayout(asked) : std::vector<std::string>{});
        expectReadAsAsked(probe, asked, false, name);
        std::filesystem::remove(out);
    }

    TempDirectory directory;
};

TEST_F(FxFfprobeTest, ReadsEveryListedExtensionInEverySampleFormat) {
    const std::vector<Listed> listed = listedFormats();
    ASSERT_GE(listed.size(), 20u) << "ostrana-fx formats listed too little";
    std::size_t probed = 0;
    for (const Listed& entry : listed) {
        for (const std::string& encoding : entry.encodings) {
            renderAndProbe(entry.extension, {2, 48000, 12000, encoding});
            ++probed;
        }
    }
    EXPECT_GE(probed, 80u);
}

// Mono at 44.1 kHz in each extension's 16-bit format (or its codec), and in IFF (8SVX), which
// `formats` leaves out because it holds mono only.
TEST_F(FxFfprobeTest, ReadsEveryExtensionInMonoAt44100Hz) {
    std::vector<Listed> listed = listedFormats();
    listed.push_back({"iff", {"pcm16"}});
    for (const Listed& entry : listed) {
        if (entry.extension == "opus") continue;  // Opus refuses 44.1 kHz (see ContainerTest)
        const bool linear = !isCompressed(entry.encodings.front());
        renderAndProbe(entry.extension,
                       {1, 44100, 22050, linear ? "pcm16" : entry.encodings.front()});
    }
}

// The formats that stream (IRCAM, AVR, PARIS and PVF too, besides the ones the refusal names),
// written into a pipe and read from it: the header cannot be completed there, so ffprobe's
// measure is what it decodes.
TEST_F(FxFfprobeTest, ReadsWhatGoesIntoAPipe) {
    const Asked stereo{2, 48000, 48000, "pcm16"};
    const std::string in = input(stereo);
    const std::pair<const char*, std::string> types[] = {
        {"flac", "pcm16"}, {"au", "pcm16"},          {"raw", "pcm16"}, {"sf", "pcm16"},
        {"avr", "pcm16"},  {"paf", "pcm16"},         {"pvf", "pcm16"}, {"ogg", "Vorbis"},
        {"opus", "Opus"},  {"mp3", "MPEG Layer III"}};
    for (const auto& [type, encoding] : types) {
        const Asked asked{2, 48000, 48000, encoding};
        const std::string producer = FxProcess::program() + " render '" + in + "' - --type " +
                                     type + " --quiet --tail 0 --node delay";
        const bool raw = std::string(type) == "raw";
        const ProbeReport probe = Ffprobe::pipe(
            producer, directory.path(), true, raw ? rawLayout(asked) : std::vector<std::string>{});
        expectReadAsAsked(probe, asked, true, std::string("pipe of ") + type);
    }
}

// A VOC file's 8-bit blocks keep the rate as a byte-sized divisor of 1 MHz: 44100 Hz would
// have been written as 45454 Hz, which ffprobe and SoX play 3 % fast. Refused when asked for,
// 16 bits (whose blocks keep any rate) when the input is 8-bit, and written where the rate
// fits. HTK and SDS headers keep the rate as a sample period, which 44.1 kHz does not divide.
TEST_F(FxFfprobeTest, ARateTheHeaderCannotSayIsRefusedNotChanged) {
    const Asked mono{1, 44100, 22050, "u8"};
    const FxRun refused = render(mono, directory.file("u8.voc"));
    EXPECT_EQ(refused.exitStatus, 2) << refused.err;
    EXPECT_NE(refused.err.find("cannot say 44100 Hz (the file would say 45454 Hz"),
              std::string::npos)
        << refused.err;
    EXPECT_FALSE(std::filesystem::exists(directory.file("u8.voc")));

    WavFile::write(directory.file("u8.wav"), 1, 44100, makeTestSignal(1, 22050, 44100),
                   SF_FORMAT_WAV | SF_FORMAT_PCM_U8);
    const FxRun nearest =
        FxProcess::run({"render", directory.file("u8.wav"), directory.file("auto.voc"), "--quiet",
                        "--tail", "0", "--node", "delay"});
    ASSERT_EQ(nearest.exitStatus, 0) << nearest.err;
    expectReadAsAsked(Ffprobe::file(directory.file("auto.voc"), true), {1, 44100, 22050, "pcm16"},
                      false, "auto.voc");

    renderAndProbe("voc", {1, 8000, 4000, "u8"});
    renderAndProbe("voc", {2, 8000, 4000, "u8"});

    for (const char* name : {"out.htk", "out.sds"}) {
        const FxRun run = render({1, 44100, 22050, "pcm16"}, directory.file(name));
        EXPECT_EQ(run.exitStatus, 2) << name << ": " << run.err;
        EXPECT_NE(run.err.find("cannot say 44100 Hz"), std::string::npos) << run.err;
        EXPECT_FALSE(std::filesystem::exists(directory.file(name))) << name;
    }
    const FxRun htk = render({1, 16000, 8000, "pcm16"}, directory.file("out.htk"));
    ASSERT_EQ(htk.exitStatus, 0) << htk.err;
    EXPECT_EQ(WavFile::read(directory.file("out.htk")).sampleRate, 16000u);
}

}  // namespace
}  // namespace ostrana::fx::testing
