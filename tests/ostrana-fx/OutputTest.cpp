// Where and how ostrana-fx writes: regular files replaced safely, links and modes kept,
// devices, FIFOs and pipes written directly, and the format chosen by the output's name.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "FxProcess.h"
#include "InProcessChain.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr unsigned int kRate = 48000;
constexpr std::size_t kFrames = 9600;

// A directory with a stereo float input and what the delay makes of it in process.
class OutputTest : public ::testing::Test {
  protected:
    void SetUp() override {
        input = makeTestSignal(2, kFrames, kRate);
        WavFile::write(directory.file("in.wav"), 2, kRate, input, kFloatWav);
        expected = renderInProcess({{"AudioEffects.Delay"}}, input, 2, kRate, 512);
    }

    FxRun render(const std::string& output, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{
            "render", directory.file("in.wav"), output, "--tail", "0", "--node", "delay"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return FxProcess::run(arguments);
    }

    // Runs a shell command line; returns its exit status.
    static int shell(const std::string& commandLine) {
        const int status = std::system(commandLine.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    TempDirectory directory;
    std::vector<float> input;
    std::vector<float> expected;
};

TEST_F(OutputTest, ExistingFileKeepsItsModeAndIsReplaced) {
    const std::string out = directory.file("out.wav");
    writeBytes(out, "old contents\n");
    ASSERT_EQ(chmod(out.c_str(), 0640), 0);
    const FxRun run = render(out);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    struct stat status {};
    ASSERT_EQ(stat(out.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(firstBitDifference(WavFile::read(out).samples, expected), -1);
    EXPECT_EQ(directory.entries(), (std::vector<std::string>{"in.wav", "out.wav"}));
}

TEST_F(OutputTest, SymbolicLinkIsFollowedAndKept) {
    const std::string target = directory.file("target.wav");
    const std::string link = directory.file("link.wav");
    writeBytes(target, "old contents\n");
    ASSERT_EQ(symlink("target.wav", link.c_str()), 0);
    const FxRun run = render(link);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(firstBitDifference(WavFile::read(target).samples, expected), -1);
}

TEST_F(OutputTest, DanglingSymbolicLinkCreatesItsTarget) {
    const std::string link = directory.file("link.wav");
    ASSERT_EQ(symlink("made.wav", link.c_str()), 0);
    const FxRun run = render(link);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(firstBitDifference(WavFile::read(directory.file("made.wav")).samples, expected), -1);
}

TEST_F(OutputTest, EveryHardLinkSeesTheNewContents) {
    const std::string out = directory.file("out.wav");
    writeBytes(out, "old contents\n");
    ASSERT_EQ(link(out.c_str(), directory.file("other.wav").c_str()), 0);
    const FxRun run = render(out);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(readBytes(directory.file("other.wav")), readBytes(out));
    EXPECT_EQ(firstBitDifference(WavFile::read(out).samples, expected), -1);
}

TEST_F(OutputTest, DevNullStaysADevice) {
    const FxRun run = render("/dev/null");
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    struct stat status {};
    ASSERT_EQ(stat("/dev/null", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

TEST_F(OutputTest, FullDeviceFailsWithoutReplacingIt) {
    const FxRun run = render("/dev/full");
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_NE(run.err.find("/dev/full"), std::string::npos) << run.err;
    struct stat status {};
    ASSERT_EQ(stat("/dev/full", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

TEST_F(OutputTest, FifoWithAReaderGetsTheStream) {
    const std::string fifo = directory.file("out.au");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] {
        const int descriptor = open(fifo.c_str(), O_RDONLY);
        char chunk[65536];
        ssize_t got = 0;
        while (descriptor >= 0 && (got = read(descriptor, chunk, sizeof chunk)) > 0) {
            received.append(chunk, static_cast<std::size_t>(got));
        }
        if (descriptor >= 0) close(descriptor);
    });
    const FxRun run = render(fifo, {"--format", "float"});
    reader.join();
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    struct stat status {};
    ASSERT_EQ(stat(fifo.c_str(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
    writeBytes(directory.file("received.au"), received);
    EXPECT_EQ(firstBitDifference(WavFile::read(directory.file("received.au")).samples, expected),
              -1);
}

TEST_F(OutputTest, DashWritesStandardOutputIntoAPipe) {
    const std::string received = directory.file("received.au");
    const int status = shell(std::string(OSTRANA_FX_PATH) + " render '" + directory.file("in.wav") +
                             "' - --type au --tail 0 --node delay | cat > '" + received + "'");
    ASSERT_EQ(status, 0);
    EXPECT_EQ(firstBitDifference(WavFile::read(received).samples, expected), -1);
}

TEST_F(OutputTest, DashReadsStandardInputFromAPipe) {
    const std::string out = directory.file("out.wav");
    const int status = shell("cat '" + directory.file("in.wav") + "' | " + OSTRANA_FX_PATH +
                             " render - '" + out + "' --tail 0 --quiet --node delay");
    ASSERT_EQ(status, 0);
    EXPECT_EQ(firstBitDifference(WavFile::read(out).samples, expected), -1);
}

// /dev/stdout names whatever standard output is; the program writes that descriptor, so a
// file the shell opened stays the same file, and the summary goes to standard error.
TEST_F(OutputTest, DevStdoutWritesTheDescriptorTheShellOpened) {
    const std::string out = directory.file("out.au");
    const std::string log = directory.file("summary.log");
    writeBytes(out, "");
    struct stat before {};
    ASSERT_EQ(stat(out.c_str(), &before), 0);
    ASSERT_EQ(
        shell(std::string(OSTRANA_FX_PATH) + " render '" + directory.file("in.wav") +
              "' /dev/stdout --type au --tail 0 --node delay > '" + out + "' 2> '" + log + "'"),
        0)
        << readBytes(log);
    struct stat after {};
    ASSERT_EQ(stat(out.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "the file was replaced, not written";
    EXPECT_EQ(firstBitDifference(WavFile::read(out).samples, expected), -1);
    EXPECT_EQ(readBytes(out).find("rendered "), std::string::npos);
    EXPECT_NE(readBytes(log).find("rendered "), std::string::npos) << readBytes(log);
    EXPECT_EQ(directory.entries(), (std::vector<std::string>{"in.wav", "out.au", "summary.log"}));
}

// Into a pipe, the stream is the audio alone: the summary must not follow it there.
TEST_F(OutputTest, DevStdoutIntoAPipeHoldsOnlyTheAudio) {
    const std::string received = directory.file("received.au");
    ASSERT_EQ(shell(std::string(OSTRANA_FX_PATH) + " render '" + directory.file("in.wav") +
                    "' /dev/stdout --type au --tail 0 --node delay 2> /dev/null | cat > '" +
                    received + "'"),
              0);
    EXPECT_EQ(readBytes(received).find("rendered "), std::string::npos);
    EXPECT_EQ(firstBitDifference(WavFile::read(received).samples, expected), -1);
}

// A format that needs a file it can seek in is refused into a pipe before anything reaches the
// pipe: AIFF used to leave its 54-byte header there (which ffprobe read as an empty file).
TEST_F(OutputTest, AFormatThatCannotStreamLeavesThePipeEmpty) {
    for (const char* type : {"aiff", "caf", "w64", "wav", "rf64", "voc"}) {
        const std::string received = directory.file(std::string("received.") + type);
        const std::string log = directory.file("error.log");
        const int status =
            shell("bash -o pipefail -c \"" + std::string(OSTRANA_FX_PATH) + " render '" +
                  directory.file("in.wav") + "' - --type " + type + " --tail 0 --node delay 2> '" +
                  log + "' | cat > '" + received + "'\"");
        EXPECT_EQ(status, 2) << type << ": " << readBytes(log);
        EXPECT_NE(readBytes(log).find("needs a file it can seek in"), std::string::npos)
            << type << ": " << readBytes(log);
        EXPECT_EQ(readBytes(received).size(), 0u) << type;
    }
}

// libsndfile reads FLAC only from a file it can seek in: from a pipe it is refused before any
// audio is read, with the formats that do work from a pipe.
TEST_F(OutputTest, FlacFromAPipeIsRefusedWithTheFormatsThatWork) {
    WavFile::write(directory.file("in.flac"), 2, kRate, input, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    const std::string log = directory.file("error.log");
    const int status =
        shell("cat '" + directory.file("in.flac") + "' | " + OSTRANA_FX_PATH + " render - '" +
              directory.file("out.wav") + "' --node delay 2> '" + log + "'");
    EXPECT_EQ(status, 2) << readBytes(log);
    const std::string message = readBytes(log);
    for (const char* part :
         {"standard input", "from a pipe", "WAV", "not FLAC", "give a file name"}) {
        EXPECT_NE(message.find(part), std::string::npos) << part << " in " << message;
    }
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.wav")));
}

TEST_F(OutputTest, ExtensionChoosesTheContainerAndEncodingFollowsTheInput) {
    WavFile::write(directory.file("in16.wav"), 2, kRate, input, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const struct {
        const char* name;
        int format;
    } cases[] = {{"out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                 {"out.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
                 {"out.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                 {"out.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                 {"out.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16}};
    for (const auto& c : cases) {
        const FxRun run =
            FxProcess::run({"render", directory.file("in16.wav"), directory.file(c.name), "--tail",
                            "0", "--node", "delay"});
        ASSERT_EQ(run.exitStatus, 0) << c.name << ": " << run.err;
        EXPECT_EQ(WavFile::read(directory.file(c.name)).format, c.format) << c.name;
    }
    const FxRun asked =
        FxProcess::run({"render", directory.file("in16.wav"), directory.file("f.wav"), "--format",
                        "float", "--node", "delay"});
    ASSERT_EQ(asked.exitStatus, 0) << asked.err;
    EXPECT_EQ(WavFile::read(directory.file("f.wav")).format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
}

TEST_F(OutputTest, TagsAreCopied) {
    SF_INFO info{};
    info.channels = 2;
    info.samplerate = static_cast<int>(kRate);
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(directory.file("tagged.wav").c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    sf_set_string(file, SF_STR_TITLE, "Test tone");
    sf_set_string(file, SF_STR_ARTIST, "Ostrana");
    sf_writef_float(file, input.data(), static_cast<sf_count_t>(kFrames));
    sf_close(file);
    const FxRun run = FxProcess::run(
        {"render", directory.file("tagged.wav"), directory.file("out.flac"), "--node", "chorus"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    SF_INFO outInfo{};
    SNDFILE* out = sf_open(directory.file("out.flac").c_str(), SFM_READ, &outInfo);
    ASSERT_NE(out, nullptr);
    const char* title = sf_get_string(out, SF_STR_TITLE);
    const char* artist = sf_get_string(out, SF_STR_ARTIST);
    EXPECT_STREQ(title == nullptr ? "" : title, "Test tone");
    EXPECT_STREQ(artist == nullptr ? "" : artist, "Ostrana");
    sf_close(out);
}

TEST_F(OutputTest, SoxReadsFloatOutputWithoutAWarning) {
    const std::string out = directory.file("out.wav");
    ASSERT_EQ(render(out).exitStatus, 0);
    const std::string log = directory.file("sox.log");
    ASSERT_EQ(shell("sox -V2 '" + out + "' -n stat 2> '" + log + "'"), 0) << readBytes(log);
    EXPECT_EQ(readBytes(log).find("WARN"), std::string::npos) << readBytes(log);
}

}  // namespace
}  // namespace ostrana::fx::testing
