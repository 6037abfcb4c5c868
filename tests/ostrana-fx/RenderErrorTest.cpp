#include <gtest/gtest.h>
#include <sndfile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "FxProcess.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
const std::string kExistingOutput = "an existing file that a failed render must leave alone\n";

struct ErrorCase {
    std::string name;
    // Arguments after "render"; IN, OUT and DIR stand for paths in the test's directory.
    std::vector<std::string> arguments;
    int exitStatus;
    std::vector<std::string> messageParts;
};

// Names the case in test output instead of dumping its bytes.
void PrintTo(const ErrorCase& errorCase, std::ostream* out) {
    *out << errorCase.name;
}

// Every node type of the catalogue, in its order, as the unknown-type message lists them.
std::string allTypes() {
    std::string list;
    for (const auto& entry : extensions::audioeffects::EffectCatalogue::nodeTypes()) {
        list += (list.empty() ? "" : ", ") + entry.typeName();
    }
    return list;
}

std::vector<ErrorCase> errorCases() {
    return {
        {"MissingInput",
         {"DIR/missing.wav", "OUT", "--node", "AudioEffects.Delay"},
         1,
         {"cannot read input", "missing.wav", "No such file or directory"}},
        {"InputNotAudio",
         {"DIR/notes.txt", "OUT", "--node", "AudioEffects.Delay"},
         1,
         {"cannot read input", "notes.txt"}},
        {"InputIsADirectory",
         {"DIR", "OUT", "--node", "AudioEffects.Delay"},
         1,
         {"cannot read input", "is a directory"}},
        {"UnsupportedOutputFormat",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--format", "mp3"},
         2,
         {"--format", "mp3"}},
        {"UnknownNodeType",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--node", "AudioEffects.Reverb"},
         2,
         {"--node #2", "unknown node type 'AudioEffects.Reverb'", allTypes()}},
        {"UnknownParameter",
         {"IN", "OUT", "--node", "AudioEffects.PingPongDelay", "--set", "gain=0.5"},
         2,
         {"node 1 (AudioEffects.PingPongDelay)", "unknown parameter 'gain'",
          "enabled, delayMs, dryMix, wetMix, feedbackLevel"}},
        {"UnknownParameterOfAModulationNode",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--node", "AudioEffects.Chorus", "--set",
          "delayMs=5"},
         2,
         {"node 2 (AudioEffects.Chorus)", "unknown parameter 'delayMs'",
          "enabled, sweepWidth, frequency"}},
        {"ValueDoesNotParse",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--set", "delayMs=abc"},
         2,
         {"'delayMs'", "'abc'"}},
        {"BooleanDoesNotParse",
         {"IN", "OUT", "--node", "AudioEffects.Vibrato", "--set", "enabled=maybe"},
         2,
         {"'enabled'", "'maybe'", "a switch is needed"}},
        {"FloatDoesNotParse",
         {"IN", "OUT", "--node", "AudioEffects.PingPongDelay", "--set", "dryMix=0.5x"},
         2,
         {"'dryMix'", "'0.5x'"}},
        {"NegativeDelayCannotBeStored",
         {"IN", "OUT", "--node", "AudioEffects.PingPongDelay", "--set", "delayMs=-5"},
         2,
         {"'delayMs'", "'-5'"}},
        {"DelayTooLargeToStore",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--set", "delayMs=4294967296"},
         2,
         {"'delayMs'", "'4294967296'", "too large"}},
        {"FloatTooLargeToStore",
         {"IN", "OUT", "--node", "AudioEffects.Flanger", "--set", "sweepWidth=1e39"},
         2,
         {"'sweepWidth'", "'1e39'", "out of range"}},
        {"AssignmentWithoutValueSeparator",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--set", "delayMs"},
         2,
         {"'delayMs'", "NAME=VALUE"}},
        {"SetBeforeAnyNode",
         {"IN", "OUT", "--set", "delayMs=10", "--node", "AudioEffects.Delay"},
         2,
         {"delayMs=10", "before any --node"}},
        {"NoNode", {"IN", "OUT"}, 2, {"--node"}},
        {"ZeroBlock",
         {"IN", "OUT", "--node", "AudioEffects.Delay", "--block", "0"},
         2,
         {"--block"}},
        // Refusals known before any audio is read are usage errors.
        {"PingPongRefusesMono",
         {"DIR/mono.wav", "OUT", "--node", "AudioEffects.PingPongDelay"},
         2,
         {"node 1 (AudioEffects.PingPongDelay)", "1-channel", "mono.wav", "takes 2 channels",
          "--upmix"}},
        {"PingPongRefusesALoneThirdChannel",
         {"DIR/three.wav", "OUT", "--node", "ping-pong-delay"},
         2,
         {"node 1 (AudioEffects.PingPongDelay)", "3-channel", "takes 2 channels"}},
        {"SecondNodeRefusesMono",
         {"DIR/mono.wav", "OUT", "--node", "AudioEffects.Delay", "--node",
          "AudioEffects.PingPongDelay"},
         2,
         {"node 2 (AudioEffects.PingPongDelay)", "1-channel"}},
        {"ValueAboveRange",
         {"IN", "OUT", "--node", "delay", "--set", "delayMs=5000"},
         2,
         {"'delayMs'", "5000", "1 to 1000 ms", "--allow-out-of-range"}},
        {"ValueBelowRange",
         {"IN", "OUT", "--node", "flanger", "--set", "sweepWidth=-1"},
         2,
         {"'sweepWidth'", "-1", "0 to 0.01 s"}},
        {"FeedbackAboveRange",
         {"IN", "OUT", "--node", "delay", "--set", "feedbackLevel=5"},
         2,
         {"'feedbackLevel'", "0 to 0.99"}},
        {"WholeNumberWithFraction",
         {"IN", "OUT", "--node", "delay", "--set", "delayMs=350.5"},
         2,
         {"'delayMs'", "'350.5'", "a whole number is needed"}},
        {"MisspeltNodeType",
         {"IN", "OUT", "--node", "Chrous"},
         2,
         {"unknown node type 'Chrous'", "did you mean 'chorus'?"}},
        {"MisspeltParameter",
         {"IN", "OUT", "--node", "delay", "--set", "dlayMs=3"},
         2,
         {"unknown parameter 'dlayMs'", "did you mean 'delayMs'?"}},
        {"MisspeltOption",
         {"IN", "OUT", "--node", "delay", "--blok", "3"},
         2,
         {"--blok", "did you mean '--block'?"}},
        // The missing --node is the consequence; the misspelling is what to report.
        {"MisspeltRequiredOption",
         {"IN", "OUT", "--nod", "delay"},
         2,
         {"unknown option '--nod'", "did you mean '--node'?"}},
        {"OptionMissingItsValue",
         {"IN", "OUT", "--node", "--quiet"},
         2,
         {"--node", "missing node type", "'--quiet'"}},
        {"BlockOfTheWrongKind",
         {"IN", "OUT", "--node", "delay", "--block", "abc"},
         2,
         {"--block", "'abc' is not a whole number of frames"}},
        {"TailOfTheWrongKind",
         {"IN", "OUT", "--node", "delay", "--tail", "long"},
         2,
         {"--tail", "'long'"}},
        {"OutputExtensionNotWritable",
         {"IN", "DIR/out.xyz", "--node", "delay"},
         2,
         {"'.xyz'", "flac", "wav"}},
        {"FormatTheContainerCannotHold",
         {"IN", "DIR/out.flac", "--node", "delay", "--format", "float"},
         2,
         {"--format", "FLAC"}},
        {"WavToAPipeNeedsAStreamingFormat", {"IN", "-", "--node", "delay"}, 2, {"seek", "--type"}},
    };
}

std::size_t countLines(const std::string& text) {
    std::size_t lines = 0;
    for (char c : text) lines += c == '\n' ? 1 : 0;
    return lines;
}

class FxRenderErrorTest : public ::testing::TestWithParam<ErrorCase> {
  protected:
    void SetUp() override {
        WavFile::write(directory.file("in.wav"), 2, 48000, makeTestSignal(2, 4800, 48000),
                       kFloatWav);
        WavFile::write(directory.file("mono.wav"), 1, 48000, makeTestSignal(1, 4800, 48000),
                       kFloatWav);
        WavFile::write(directory.file("three.wav"), 3, 48000, makeTestSignal(3, 4800, 48000),
                       kFloatWav);
        writeBytes(directory.file("notes.txt"), "not a sound file\n");
        inputs = directory.entries();
    }

    std::vector<std::string> expand(const std::vector<std::string>& arguments) const {
        std::vector<std::string> expanded{"render"};
        for (const std::string& argument : arguments) {
            if (argument == "IN") {
                expanded.push_back(directory.file("in.wav"));
            } else if (argument == "OUT") {
                expanded.push_back(directory.file("out.wav"));
            } else if (argument.rfind("DIR", 0) == 0) {
                expanded.push_back(directory.path() + argument.substr(3));
            } else {
                expanded.push_back(argument);
            }
        }
        return expanded;
    }

    void expectMessage(const FxRun& run, const ErrorCase& errorCase) const {
        EXPECT_EQ(run.exitStatus, errorCase.exitStatus) << run.err;
        EXPECT_EQ(countLines(run.err), 1u) << "not one line: " << run.err;
        EXPECT_EQ(run.err.rfind("ostrana-fx render: error: ", 0), 0u) << run.err;
        for (const std::string& part : errorCase.messageParts) {
            EXPECT_NE(run.err.find(part), std::string::npos)
                << "'" << part << "' missing from: " << run.err;
        }
    }

    TempDirectory directory;
    std::vector<std::string> inputs;
};

TEST_P(FxRenderErrorTest, FailsWithAOneLineMessageAndWritesNoOutput) {
    const ErrorCase& errorCase = GetParam();
    const FxRun run = FxProcess::run(expand(errorCase.arguments));
    expectMessage(run, errorCase);
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.wav")));
    // Nothing else left behind either: no temporary file.
    EXPECT_EQ(directory.entries(), inputs);
}

TEST_P(FxRenderErrorTest, LeavesAnExistingOutputUntouched) {
    const ErrorCase& errorCase = GetParam();
    writeBytes(directory.file("out.wav"), kExistingOutput);
    const FxRun run = FxProcess::run(expand(errorCase.arguments));
    expectMessage(run, errorCase);
    EXPECT_EQ(readBytes(directory.file("out.wav")), kExistingOutput);
    std::vector<std::string> expected = inputs;
    expected.push_back("out.wav");
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(directory.entries(), expected);
}

INSTANTIATE_TEST_SUITE_P(EveryError, FxRenderErrorTest, ::testing::ValuesIn(errorCases()),
                         [](const ::testing::TestParamInfo<ErrorCase>& info) {
                             return info.param.name;
                         });

TEST(FxOutputErrorTest, OutputInAMissingDirectoryIsAFailure) {
    TempDirectory directory;
    WavFile::write(directory.file("in.wav"), 2, 48000, makeTestSignal(2, 4800, 48000), kFloatWav);
    const std::string output = directory.file("no-such-directory/out.wav");
    const FxRun run = FxProcess::run(
        {"render", directory.file("in.wav"), output, "--node", "AudioEffects.Delay"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(countLines(run.err), 1u) << run.err;
    EXPECT_NE(run.err.find("cannot write output '" + output + "'"), std::string::npos) << run.err;
    EXPECT_EQ(directory.entries(), std::vector<std::string>{"in.wav"});
}

// The whole file is rendered before the rename fails: the temporary file must go.
TEST(FxOutputErrorTest, OutputThatIsADirectoryIsAFailureAndLeavesNoTemporaryFile) {
    TempDirectory directory;
    WavFile::write(directory.file("in.wav"), 2, 48000, makeTestSignal(2, 48000, 48000), kFloatWav);
    std::filesystem::create_directory(directory.file("taken"));
    writeBytes(directory.file("taken/inside.txt"), kExistingOutput);
    const FxRun run = FxProcess::run({"render", directory.file("in.wav"), directory.file("taken"),
                                      "--node", "AudioEffects.Delay"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(countLines(run.err), 1u) << run.err;
    EXPECT_NE(run.err.find("cannot write output"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("taken"), std::string::npos) << run.err;
    EXPECT_EQ(directory.entries(), (std::vector<std::string>{"in.wav", "taken"}));
    EXPECT_EQ(readBytes(directory.file("taken/inside.txt")), kExistingOutput);
}

TEST(FxOutputErrorTest, SuccessfulRenderReplacesAnExistingOutput) {
    TempDirectory directory;
    WavFile::write(directory.file("in.wav"), 2, 48000, makeTestSignal(2, 4800, 48000), kFloatWav);
    writeBytes(directory.file("out.wav"), kExistingOutput);
    const FxRun run = FxProcess::run({"render", directory.file("in.wav"), directory.file("out.wav"),
                                      "--tail", "0", "--node", "AudioEffects.Delay"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(WavFile::read(directory.file("out.wav")).frames(), 4800u);
    EXPECT_EQ(directory.entries(), (std::vector<std::string>{"in.wav", "out.wav"}));
}

// Whether the program holds an output file open in the directory that has no name there yet
// (an unnamed temporary file shows as "DIR/#inode (deleted)", DIR with its symbolic links
// followed, as a temporary folder reached through one may be), or a hidden named one.
bool isWritingOutput(int pid, const TempDirectory& directory) {
    for (const std::string& name : directory.entries()) {
        if (name.rfind(".out.wav.partial-", 0) == 0) return true;
    }
    std::error_code error;
    const std::string folder = std::filesystem::canonical(directory.path(), error).string();
    const std::string descriptors = "/proc/" + std::to_string(pid) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(descriptors, error)) {
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        if (target.rfind(folder + "/#", 0) == 0) return true;
    }
    return false;
}

// Whether the folder's file system has unnamed files (O_TMPFILE); without them the program
// falls back to a named temporary file, which only a SIGKILL can leave behind.
bool hasUnnamedFiles(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    close(descriptor);
    return true;
}

// Opens the FIFO for writing once a reader has it open; -1 when none comes in time. Not
// blocking, so that a program that fails early cannot hang the test.
int openWriterWhenRead(const std::string& path) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        const int descriptor = open(path.c_str(), O_WRONLY | O_NONBLOCK);
        if (descriptor >= 0) {
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
            return descriptor;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return -1;
}

// A render reading from a FIFO is stopped by a signal halfway through: neither a temporary
// file nor a partial output may be left behind, and the existing output stays as it was.
void expectStoppedRenderLeavesNothing(int signal) {
    TempDirectory directory;
    if (signal == SIGKILL && !hasUnnamedFiles(directory.path())) {
        GTEST_SKIP() << directory.path() << " is on a file system without unnamed files "
                     << "(O_TMPFILE): a SIGKILL leaves the hidden named temporary file there";
    }
    WavFile::write(directory.file("source.wav"), 2, 48000, makeTestSignal(2, 96000, 48000),
                   kFloatWav);
    const std::string bytes = readBytes(directory.file("source.wav"));
    std::filesystem::remove(directory.file("source.wav"));
    ASSERT_EQ(mkfifo(directory.file("in.wav").c_str(), 0600), 0);
    writeBytes(directory.file("out.wav"), kExistingOutput);

    const int pid = FxProcess::start({"render", directory.file("in.wav"), directory.file("out.wav"),
                                      "--node", "AudioEffects.Delay"});
    const int fifo = openWriterWhenRead(directory.file("in.wav"));
    if (fifo < 0) {
        kill(pid, SIGKILL);
        FxProcess::wait(pid);
        FAIL() << "the program never opened its input";
    }
    const std::size_t half = bytes.size() / 2;
    ASSERT_EQ(write(fifo, bytes.data(), half), static_cast<ssize_t>(half));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isWritingOutput(pid, directory) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(isWritingOutput(pid, directory)) << "the render never started writing";
    kill(pid, signal);
    const int status = FxProcess::wait(pid);
    close(fifo);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << "wait status " << status;
    EXPECT_EQ(directory.entries(), (std::vector<std::string>{"in.wav", "out.wav"}));
    EXPECT_EQ(readBytes(directory.file("out.wav")), kExistingOutput);
}

TEST(FxInterruptTest, InterruptedRenderLeavesNothingBehind) {
    expectStoppedRenderLeavesNothing(SIGINT);
}

TEST(FxInterruptTest, KilledRenderLeavesNothingBehind) {
    expectStoppedRenderLeavesNothing(SIGKILL);
}

}  // namespace
}  // namespace ostrana::fx::testing
