// What ostrana-fx refuses before it writes anything (exit status 2): a write-protected output,
// batch outputs that collide or would replace their inputs, a sample rate no file really has.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "FxProcess.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

namespace fs = std::filesystem;

constexpr unsigned int kRate = 8000;
constexpr int kPcm16Wav = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

void writeInput(const std::string& path, std::size_t frames = 4000) {
    fs::create_directories(fs::path(path).parent_path());
    WavFile::write(path, 1, kRate, makeTestSignal(1, frames, kRate), kPcm16Wav);
}

int shell(const std::string& commandLine) {
    const int status = std::system(commandLine.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A user without root's right to write anything: nobody, through setpriv.
bool canRunAsNobody(std::string& whyNot) {
    if (geteuid() != 0) {
        whyNot = "not root, so cannot run as another user";
    } else if (shell("command -v setpriv > /dev/null") != 0) {
        whyNot = "setpriv is not installed";
    } else {
        return true;
    }
    return false;
}

std::string asNobody(const std::string& arguments, const std::string& log) {
    return "setpriv --reuid=65534 --regid=65534 --clear-groups " + FxProcess::program() + " " +
           arguments + " 2> '" + log + "'";
}

TEST(FxWriteProtectedTest, RefusedForAUserWhoMayNotWriteItUnlessForced) {
    std::string whyNot;
    if (!canRunAsNobody(whyNot)) GTEST_SKIP() << whyNot;
    TempDirectory directory;
    ASSERT_EQ(chmod(directory.path().c_str(), 0777), 0);
    writeInput(directory.file("in.wav"));
    const std::string master = directory.file("master.wav");
    writeBytes(master, "the only take\n");
    ASSERT_EQ(chmod(master.c_str(), 0444), 0);
    const std::string log = directory.file("err.log");
    const std::string arguments =
        "render '" + directory.file("in.wav") + "' '" + master + "' --tail 0 --node delay";

    EXPECT_EQ(shell(asNobody(arguments, log)), 2) << readBytes(log);
    EXPECT_NE(readBytes(log).find("output '" + master + "' is write-protected"), std::string::npos)
        << readBytes(log);
    EXPECT_NE(readBytes(log).find("--force"), std::string::npos) << readBytes(log);
    EXPECT_EQ(readBytes(master), "the only take\n");

    EXPECT_EQ(shell(asNobody(arguments + " --force --quiet", log)), 0) << readBytes(log);
    EXPECT_EQ(WavFile::read(master).frames(), 4000u);
}

TEST(FxBatchTest, TwoInputsWithOneOutputAreRefusedBeforeAnythingIsWritten) {
    TempDirectory directory;
    std::vector<std::string> arguments{"render"};
    for (int i = 0; i < 18; ++i) {
        arguments.push_back(directory.file("a/take" + std::to_string(i) + ".wav"));
        writeInput(arguments.back());
    }
    writeInput(directory.file("b/take3.wav"));
    writeInput(directory.file("c/take7.wav"));
    arguments.insert(arguments.end(), {directory.file("b/take3.wav"), directory.file("c/take7.wav"),
                                       "--output-dir", directory.file("out"), "--node", "delay"});
    const FxRun run = FxProcess::run(arguments);
    EXPECT_EQ(run.exitStatus, 2) << run.err;
    EXPECT_NE(run.err.find("inputs '" + directory.file("a/take3.wav") + "' and '" +
                           directory.file("b/take3.wav") + "' would both be written to '" +
                           directory.file("out/take3.wav") + "'"),
              std::string::npos)
        << run.err;
    EXPECT_FALSE(fs::exists(directory.file("out")));
}

// Twenty inputs, one of them not audio: the others are rendered, the broken one reported once.
TEST(FxBatchTest, ABrokenInputIsReportedAndTheRestRendered) {
    TempDirectory directory;
    std::vector<std::string> arguments{"render"};
    for (int i = 0; i < 20; ++i) {
        arguments.push_back(directory.file("in/take" + std::to_string(i) + ".wav"));
        writeInput(arguments.back());
    }
    writeBytes(directory.file("in/take13.wav"), "not audio\n");
    arguments.insert(arguments.end(),
                     {"--output-dir", directory.file("out"), "--quiet", "--node", "delay"});
    const FxRun run = FxProcess::run(arguments);
    EXPECT_EQ(run.exitStatus, 1) << run.err;
    const std::string broken = directory.file("in/take13.wav");
    const std::size_t first = run.err.find(broken);
    ASSERT_NE(first, std::string::npos) << run.err;
    EXPECT_EQ(run.err.find(broken, first + 1), std::string::npos) << "path repeated: " << run.err;
    EXPECT_NE(run.err.find("1 of 20 inputs failed"), std::string::npos) << run.err;
    EXPECT_EQ(fs::directory_entry(directory.file("out")).exists(), true);
    std::size_t written = 0;
    for (const auto& entry : fs::directory_iterator(directory.file("out"))) {
        EXPECT_NE(entry.path().filename(), "take13.wav");
        ++written;
    }
    EXPECT_EQ(written, 19u);
}

TEST(FxBatchTest, OutputsThatWouldReplaceTheInputsNeedASuffixOrForce) {
    TempDirectory directory;
    writeInput(directory.file("one.wav"));
    writeInput(directory.file("two.wav"));
    const std::string before = readBytes(directory.file("one.wav"));
    const std::vector<std::string> batch{"render",  "one.wav", "two.wav", "--output-dir", ".",
                                         "--quiet", "--tail",  "0",       "--node",       "delay"};
    const FxRun refused = FxProcess::run(batch, directory.path());
    EXPECT_EQ(refused.exitStatus, 2) << refused.err;
    EXPECT_NE(refused.err.find("would replace the input 'one.wav'"), std::string::npos)
        << refused.err;
    EXPECT_NE(refused.err.find("--suffix"), std::string::npos) << refused.err;
    EXPECT_TRUE(readBytes(directory.file("one.wav")) == before);

    std::vector<std::string> suffixed = batch;
    suffixed.insert(suffixed.end(), {"--suffix", "-fx"});
    const FxRun run = FxProcess::run(suffixed, directory.path());
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(readBytes(directory.file("one.wav")) == before);
    EXPECT_EQ(WavFile::read(directory.file("one-fx.wav")).frames(), 4000u);
    EXPECT_EQ(WavFile::read(directory.file("two-fx.wav")).frames(), 4000u);

    std::vector<std::string> forced = batch;
    forced.push_back("--force");
    EXPECT_EQ(FxProcess::run(forced, directory.path()).exitStatus, 0);
    EXPECT_FALSE(readBytes(directory.file("one.wav")) == before);
}

TEST(FxBatchTest, DashAmongSeveralInputsIsAUsageError) {
    TempDirectory directory;
    writeInput(directory.file("one.wav"));
    fs::create_directory(directory.file("out"));
    const FxRun run = FxProcess::run({"render", directory.file("one.wav"), "-", "--output-dir",
                                      directory.file("out"), "--node", "delay"});
    EXPECT_EQ(run.exitStatus, 2) << run.err;
    EXPECT_NE(run.err.find("'-' cannot be one of several inputs"), std::string::npos) << run.err;
    EXPECT_TRUE(fs::is_empty(directory.file("out")));
}

TEST(FxBatchTest, AMissingOutputFolderIsMade) {
    TempDirectory directory;
    writeInput(directory.file("one.wav"));
    const FxRun run = FxProcess::run({"render", directory.file("one.wav"), "--output-dir",
                                      directory.file("new/folder"), "--quiet", "--node", "delay"});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(fs::exists(directory.file("new/folder/one.wav")));
}

// A 16-bit mono WAV header promising frames, with dataFrames of silence after it.
void writeHeader(const std::string& path, unsigned int rate, std::uint32_t frames,
                 std::uint32_t dataFrames) {
    std::ofstream file(path, std::ios::binary);
    const auto u32 = [&](std::uint32_t v) { file.write(reinterpret_cast<const char*>(&v), 4); };
    const auto u16 = [&](std::uint16_t v) { file.write(reinterpret_cast<const char*>(&v), 2); };
    file << "RIFF";
    u32(36 + frames * 2);
    file << "WAVEfmt ";
    u32(16);
    u16(1);
    u16(1);
    u32(rate);
    u32(rate * 2);
    u16(2);
    u16(16);
    file << "data";
    u32(frames * 2);
    file << std::string(dataFrames * 2, '\0');
}

TEST(FxSampleRateTest, RatesBeyond768KilohertzAreRefused) {
    TempDirectory directory;
    for (const unsigned int rate : {2147483647u, 768001u}) {
        writeHeader(directory.file("in.wav"), rate, 100, 100);
        const FxRun run = FxProcess::run(
            {"render", directory.file("in.wav"), directory.file("out.wav"), "--node", "delay"});
        EXPECT_EQ(run.exitStatus, 2) << rate << ": " << run.err;
        EXPECT_NE(run.err.find("outside 1 Hz to 768 kHz"), std::string::npos) << run.err;
        EXPECT_FALSE(fs::exists(directory.file("out.wav")));
    }
    writeHeader(directory.file("in.wav"), 768000, 100, 100);
    EXPECT_EQ(FxProcess::run({"render", directory.file("in.wav"), directory.file("out.wav"),
                              "--tail", "0", "--node", "delay"})
                  .exitStatus,
              0);
}

TEST(FxSampleRateTest, AHeaderWithoutItsDataIsReportedCutOff) {
    TempDirectory directory;
    writeHeader(directory.file("in.wav"), 48000, 192000, 0);
    const FxRun run = FxProcess::run({"render", directory.file("in.wav"), directory.file("out.wav"),
                                      "--tail", "0", "--node", "delay"});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_NE(run.err.find("is cut off: its header promised 192000 frames, 0 could be read"),
              std::string::npos)
        << run.err;
}

}  // namespace
}  // namespace ostrana::fx::testing
