// What each container gets: .opus is Ogg Opus, an empty render is a valid empty file (or a
// refusal where libsndfile cannot make one), and SoX reads what the tool writes.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

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

}  // namespace
}  // namespace ostrana::fx::testing
