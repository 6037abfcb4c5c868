// What each container gets: .opus is Ogg Opus, an empty render is a valid empty file (or a
// refusal where libsndfile cannot make one), and SoX reads what the tool writes.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Ffprobe.h"
#include "FxProcess.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

int shell(const std::string& commandLine) {
    const int status = std::system(commandLine.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// getfacl's listing of a file's access control list.
std::string readAccessList(const std::string& path) {
    const std::string listing = path + ".acl";
    if (shell("getfacl -c '" + path + "' > '" + listing + "' 2> /dev/null") != 0) return "";
    return readBytes(listing);
}

class FxContainerTest : public ::testing::Test {
  protected:
    void write(const std::string& name, unsigned int rate, std::size_t frames) const {
        WavFile::write(directory.file(name), 2, rate, makeTestSignal(2, frames, rate),
                       SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    }

    FxRun render(const std::string& in, const std::string& out,
                 const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"render",  directory.file(in), directory.file(out),
                                           "--quiet", "--node",           "delay"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return FxProcess::run(arguments);
    }

    TempDirectory directory;
};

TEST_F(FxContainerTest, OpusExtensionWritesOggOpus) {
    write("in.wav", 48000, 9600);
    const FxRun run = render("in.wav", "out.opus");
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(WavFile::read(directory.file("out.opus")).format, SF_FORMAT_OGG | SF_FORMAT_OPUS);
    const FxRun typed = FxProcess::run({"render", directory.file("in.wav"), directory.file("typed"),
                                        "--type", "opus", "--quiet", "--node", "delay"});
    ASSERT_EQ(typed.exitStatus, 0) << typed.err;
    EXPECT_EQ(WavFile::read(directory.file("typed")).format, SF_FORMAT_OGG | SF_FORMAT_OPUS);
}

TEST_F(FxContainerTest, OpusAtARateItCannotRunIsRefusedBeforeWriting) {
    write("in.wav", 44100, 4410);
    const FxRun run = render("in.wav", "out.opus");
    EXPECT_EQ(run.exitStatus, 2) << run.err;
    EXPECT_NE(run.err.find("Opus runs at 8, 12, 16, 24 or 48 kHz, not 44100 Hz"), std::string::npos)
        << run.err;
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.opus")));
}

TEST_F(FxContainerTest, AnEmptyRenderIsAValidEmptyFile) {
    write("empty.wav", 48000, 0);
    for (const char* name : {"out.wav", "out.aiff", "out.caf", "out.w64", "out.au", "out.ogg"}) {
        const FxRun run = render("empty.wav", name, {"--tail", "0"});
        ASSERT_EQ(run.exitStatus, 0) << name << ": " << run.err;
        const WavFile file = WavFile::read(directory.file(name));
        EXPECT_EQ(file.channels, 2u) << name;
        EXPECT_EQ(file.frames(), 0u) << name;
    }
}

// libsndfile's FLAC and MP3 encoders write nothing without audio: refused, nothing left behind.
TEST_F(FxContainerTest, AnEmptyRenderIntoFlacOrMp3IsRefused) {
    write("empty.wav", 48000, 0);
    for (const char* name : {"out.flac", "out.mp3"}) {
        const FxRun run = render("empty.wav", name, {"--tail", "0"});
        EXPECT_EQ(run.exitStatus, 1) << name << ": " << run.err;
        EXPECT_NE(run.err.find("no audio to write"), std::string::npos) << run.err;
        EXPECT_FALSE(std::filesystem::exists(directory.file(name))) << name;
    }
}

TEST_F(FxContainerTest, SoxReadsEveryContainerWritten) {
    write("in.wav", 48000, 9600);
    for (const char* name :
         {"out.wav", "out.flac", "out.ogg", "out.aiff", "out.caf", "out.w64", "out.au"}) {
        ASSERT_EQ(render("in.wav", name).exitStatus, 0) << name;
        const std::string log = directory.file("sox.log");
        EXPECT_EQ(shell("sox -V2 '" + directory.file(name) + "' -n stat 2> '" + log + "'"), 0)
            << name << ": " << readBytes(log);
        // SoX finds libsndfile's 24-byte AU header (no annotation field) too small, and says so.
        const std::string warning = readBytes(log);
        const bool expected = std::string(name) == "out.au" &&
                              warning.find("header size 24 is too small") != std::string::npos;
        if (!expected) {
            EXPECT_EQ(warning.find("WARN"), std::string::npos) << name << ": " << warning;
        }
    }
}

// From a pipe the length is not known, so a WAV output is made so that it may grow past 4 GiB
// (RF64), and written as a plain WAV when it stays small.
TEST_F(FxContainerTest, WavFromAPipeIsAPlainWavWhenSmall) {
    write("in.wav", 48000, 9600);
    const std::string out = directory.file("out.wav");
    ASSERT_EQ(shell("cat '" + directory.file("in.wav") + "' | " + FxProcess::program() +
                    " render - '" + out + "' --quiet --tail 0 --node delay"),
              0);
    EXPECT_EQ(readBytes(out).substr(0, 4), "RIFF");
    EXPECT_EQ(WavFile::read(out).frames(), 9600u);
    EXPECT_EQ(shell("sox '" + out + "' -n stat 2> /dev/null"), 0);
}

// Past 4 GiB a WAV is RF64: 8 channels of doubles for 1401 s (4.3 GB, which a WAV's 32-bit
// sizes cannot describe: it read as 2.9 s). The tail is silence, written as holes, so the file
// takes a few megabytes of disk and the test a few seconds. ffprobe reads its length from the
// header as well. (SoX reads it too, as 23:21, but takes over a minute to, even `sox --i`, so it
// is not asked here.)
TEST_F(FxContainerTest, AWavPast4GiBIsRf64AndReadsWhole) {
    WavFile::write(directory.file("in.wav"), 8, 48000, makeTestSignal(8, 48000, 48000),
                   SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string out = directory.file("big.wav");
    const FxRun run = render("in.wav", "big.wav",
                             {"--format", "double", "--tail", "1400", "--set", "feedbackLevel=0"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    struct stat status {};
    ASSERT_EQ(stat(out.c_str(), &status), 0);
    EXPECT_GT(status.st_size, 4294967296);
    EXPECT_LT(status.st_blocks * 512, 100 * 1024 * 1024) << "the silent tail took disk space";
    char magic[4] = {};
    std::FILE* raw = std::fopen(out.c_str(), "rb");
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(std::fread(magic, 1, 4, raw), 4u);
    std::fclose(raw);
    EXPECT_EQ(std::string(magic, 4), "RF64");
    SF_INFO info{};
    SNDFILE* file = sf_open(out.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.format, SF_FORMAT_RF64 | SF_FORMAT_DOUBLE);
    EXPECT_EQ(info.frames, 48000 * 1401);
    std::vector<double> first(8 * 4800);
    EXPECT_EQ(sf_readf_double(file, first.data(), 4800), 4800);
    double peak = 0.0;
    for (const double sample : first) peak = std::max(peak, std::fabs(sample));
    EXPECT_GT(peak, 0.1);
    sf_close(file);

    ASSERT_TRUE(Ffprobe::installed()) << Ffprobe::missing();
    const ProbeReport probe = Ffprobe::file(out, false);
    EXPECT_EQ(probe.exitStatus, 0) << probe.errors;
    EXPECT_EQ(probe.errors, "");
    EXPECT_EQ(probe.field("codec_name"), "pcm_f64le");
    EXPECT_EQ(probe.number("channels"), 8);
    EXPECT_EQ(probe.number("sample_rate"), 48000);
    EXPECT_EQ(probe.reportedFrames(), 48000LL * 1401);
}

// A file with a speaker layout, each channel's speaker as libsndfile names it.
void writeWithLayout(const std::string& path, int format, const std::vector<int>& layout) {
    SF_INFO info{};
    info.channels = static_cast<int>(layout.size());
    info.samplerate = 48000;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    std::vector<int> map = layout;
    ASSERT_EQ(sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(),
                         static_cast<int>(map.size() * sizeof(int))),
              SF_TRUE);
    const std::vector<float> audio = makeTestSignal(info.channels, 4800, 48000);
    sf_writef_float(file, audio.data(), 4800);
    sf_close(file);
}

std::vector<int> layoutOf(const std::string& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) return {};
    std::vector<int> map(static_cast<std::size_t>(info.channels));
    const bool known = sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(),
                                  static_cast<int>(map.size() * sizeof(int))) == SF_TRUE;
    sf_close(file);
    return known ? map : std::vector<int>();
}

// 5.1 with side speakers (WAV channel mask 0x60F) and 4.0 (front centre and back centre,
// 0x107) keep their layouts: they used to come out as 5.1 with back speakers and as quad.
TEST_F(FxContainerTest, SpeakerLayoutsAreKept) {
    const std::vector<int> sideFivePointOne{SF_CHANNEL_MAP_LEFT,      SF_CHANNEL_MAP_RIGHT,
                                            SF_CHANNEL_MAP_CENTER,    SF_CHANNEL_MAP_LFE,
                                            SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT};
    const std::vector<int> fourPointZero{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT,
                                         SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_REAR_CENTER};
    const struct {
        const char* in;
        const char* out;
        int format;
        std::vector<int> layout;
    } cases[] = {
        {"side.wav", "side-out.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, sideFivePointOne},
        {"four.wav", "four-out.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, fourPointZero},
        {"float.wav", "float-out.wav", SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, sideFivePointOne},
        {"side.aiff", "side-out.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, fourPointZero},
    };
    for (const auto& c : cases) {
        writeWithLayout(directory.file(c.in), c.format, c.layout);
        const FxRun run = render(c.in, c.out);
        ASSERT_EQ(run.exitStatus, 0) << c.out << ": " << run.err;
        EXPECT_EQ(layoutOf(directory.file(c.out)), c.layout) << c.out;
    }
}

// Where the output's container cannot record the layout, the render says so rather than drop
// it unnoticed; --strict makes that a failure.
TEST_F(FxContainerTest, ALayoutTheOutputCannotRecordIsWarnedAbout) {
    const std::vector<int> sideFivePointOne{SF_CHANNEL_MAP_LEFT,      SF_CHANNEL_MAP_RIGHT,
                                            SF_CHANNEL_MAP_CENTER,    SF_CHANNEL_MAP_LFE,
                                            SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT};
    writeWithLayout(directory.file("side.wav"), SF_FORMAT_WAVEX | SF_FORMAT_PCM_16,
                    sideFivePointOne);
    for (const char* out : {"side.flac", "side.w64", "side.caf"}) {
        const FxRun run = render("side.wav", out);
        ASSERT_EQ(run.exitStatus, 0) << out << ": " << run.err;
        EXPECT_NE(run.err.find("warning: '" + directory.file(out) + "' ("), std::string::npos)
            << run.err;
        EXPECT_NE(run.err.find("cannot record the speaker layout of input"), std::string::npos)
            << run.err;
        EXPECT_EQ(layoutOf(directory.file(out)), std::vector<int>()) << out;
    }
    const FxRun kept = render("side.wav", "kept.wav");
    ASSERT_EQ(kept.exitStatus, 0) << kept.err;
    EXPECT_EQ(kept.err.find("speaker layout"), std::string::npos) << kept.err;
    const FxRun strict = render("side.wav", "strict.flac", {"--strict"});
    EXPECT_EQ(strict.exitStatus, 1) << strict.err;
    EXPECT_NE(strict.err.find("cannot record the speaker layout"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(directory.file("strict.flac")));
}

TEST_F(FxContainerTest, ExtendedAttributesAndAccessListOfAReplacedFileAreKept) {
    write("in.wav", 48000, 4800);
    const std::string out = directory.file("out.wav");
    ASSERT_EQ(render("in.wav", "out.wav").exitStatus, 0);
    const std::string comment = "keep me";
    if (setxattr(out.c_str(), "user.comment", comment.data(), comment.size(), 0) != 0) {
        GTEST_SKIP() << "this file system holds no extended attributes here";
    }
    const bool withAccessList = shell("command -v setfacl > /dev/null") == 0;
    if (withAccessList) {
        ASSERT_EQ(chmod(out.c_str(), 0640), 0);
        ASSERT_EQ(shell("setfacl -m u:nobody:rw -m m::rw- '" + out + "'"), 0);
    }
    const std::string accessList = withAccessList ? readAccessList(out) : "";
    ASSERT_EQ(render("in.wav", "out.wav").exitStatus, 0);
    char value[64] = {};
    ASSERT_EQ(getxattr(out.c_str(), "user.comment", value, sizeof value),
              static_cast<ssize_t>(comment.size()));
    EXPECT_EQ(std::string(value), comment);
    if (!withAccessList) GTEST_SKIP() << "setfacl is not installed: the access list is untested";
    EXPECT_EQ(readAccessList(out), accessList);
    EXPECT_NE(accessList.find("group::r--"), std::string::npos) << accessList;
    EXPECT_NE(accessList.find("user:nobody:rw-"), std::string::npos) << accessList;
}

}  // namespace
}  // namespace ostrana::fx::testing
