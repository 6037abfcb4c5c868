// Messages in the tool's own voice, and the exit status the README's rules give (2 for what is
// known before any audio is read).
#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "FxProcess.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

class FxMessagesTest : public ::testing::Test {
  protected:
    void SetUp() override {
        WavFile::write(directory.file("in.wav"), 2, 48000, makeTestSignal(2, 4800, 48000),
                       SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    }

    FxRun render(const std::string& out, const std::vector<std::string>& more) const {
        std::vector<std::string> arguments{"render", directory.file("in.wav"), directory.file(out),
                                           "--quiet"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return FxProcess::run(arguments);
    }

    TempDirectory directory;
};

TEST_F(FxMessagesTest, TailTakesAutoInAnyCaseAndOnlyDecimalSeconds) {
    EXPECT_EQ(render("out.wav", {"--tail", "AUTO", "--node", "delay"}).exitStatus, 0);
    const FxRun hex = render("out.wav", {"--tail", "0x10", "--node", "delay"});
    EXPECT_EQ(hex.exitStatus, 2) << hex.err;
    EXPECT_NE(hex.err.find("'0x10' is neither auto nor a number of seconds"), std::string::npos);
}

TEST_F(FxMessagesTest, WholeNumbersTakeAPlusSignAndSayWhyANegativeOneIsRefused) {
    EXPECT_EQ(render("out.wav", {"--node", "delay", "--set", "delayMs=+350"}).exitStatus, 0);
    const FxRun negative = render("out.wav", {"--node", "delay", "--set", "delayMs=-5"});
    EXPECT_EQ(negative.exitStatus, 2);
    EXPECT_NE(negative.err.find("a whole number from 0 is needed, not a negative one"),
              std::string::npos)
        << negative.err;
    EXPECT_EQ(negative.err.find("fraction"), std::string::npos) << negative.err;
}

TEST_F(FxMessagesTest, TypeThatContradictsTheExtensionIsRefused) {
    const FxRun run = render("typed.mp3", {"--type", "wav", "--node", "delay"});
    EXPECT_EQ(run.exitStatus, 2) << run.err;
    EXPECT_NE(run.err.find("whose extension says .mp3"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(directory.file("typed.mp3")));
    EXPECT_EQ(render("typed.raw.out", {"--type", "flac", "--node", "delay"}).exitStatus, 0);
}

// SD2 cannot be written here and .mpc would be an Akai sample file, not Musepack: both are
// refused before anything is read.
TEST_F(FxMessagesTest, ContainersThatCannotBeWrittenAsNamedAreUsageErrors) {
    for (const char* name : {"out.sd2", "out.mpc"}) {
        const FxRun run = render(name, {"--node", "delay"});
        EXPECT_EQ(run.exitStatus, 2) << name << ": " << run.err;
        EXPECT_NE(run.err.find("cannot write '."), std::string::npos) << run.err;
    }
}

TEST_F(FxMessagesTest, ParserMessagesStartInLowerCase) {
    const FxRun run = FxProcess::run({"list", "extra"});
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.err.rfind("ostrana-fx list: error: the following argument", 0), 0u) << run.err;
}

TEST_F(FxMessagesTest, AFileThatIsNotAudioIsSaidSoInTheToolsWords) {
    writeBytes(directory.file("notes.wav"), "not audio\n");
    const FxRun run = FxProcess::run(
        {"render", directory.file("notes.wav"), directory.file("out.wav"), "--node", "delay"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_NE(run.err.find("cannot read input '" + directory.file("notes.wav") +
                           "': not a sound file in a format libsndfile reads (libsndfile: "),
              std::string::npos)
        << run.err;
    EXPECT_EQ(run.err.find(".;"), std::string::npos) << run.err;
}

TEST(FxParamsMessagesTest, JsonGivesFloatsAsTheyAreWritten) {
    for (const char* node : {"delay", "chorus", "flanger", "vibrato", "ping-pong-delay"}) {
        const FxRun run = FxProcess::run({"params", node, "--json"});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        EXPECT_FALSE(std::regex_search(run.out, std::regex(R"([0-9]\.[0-9]{9,})"))) << run.out;
    }
}

}  // namespace
}  // namespace ostrana::fx::testing
