// Writes that fail (a full disk, a full device) in every container: exit status 1, the
// reason in words, and an existing output left exactly as it was.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "FxProcess.h"
#include "SmallDisk.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

constexpr unsigned int kRate = 8000;

void writeInput(const std::string& path, double seconds) {
    const auto frames = static_cast<std::size_t>(seconds * kRate);
    WavFile::write(path, 1, kRate, makeTestSignal(1, frames, kRate),
                   SF_FORMAT_WAV | SF_FORMAT_PCM_16);
}

FxRun render(const std::string& in, const std::string& out,
             const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"render", in, out, "--tail", "0", "--node", "delay"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return FxProcess::run(arguments);
}

class FxFullDiskTest : public ::testing::TestWithParam<const char*> {};

// The disk holds the existing output and not much more: the new one, longer, cannot fit.
TEST_P(FxFullDiskTest, ExistingOutputIsLeftAsItWas) {
    SmallDisk disk(192);
    if (!disk.available()) GTEST_SKIP() << disk.whyNot();
    TempDirectory directory;
    writeInput(directory.file("short.wav"), 2.0);
    writeInput(directory.file("long.wav"), 240.0);
    const std::string out = disk.file(std::string("existing.") + GetParam());
    ASSERT_EQ(render(directory.file("short.wav"), out).exitStatus, 0);
    const std::string before = readBytes(out);
    ASSERT_GT(before.size(), 0u);

    const FxRun run = render(directory.file("long.wav"), out);
    EXPECT_EQ(run.exitStatus, 1) << run.err;
    EXPECT_NE(run.err.find("cannot write output '" + out + "': No space left on device"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(run.out.find("rendered"), std::string::npos) << run.out;
    EXPECT_TRUE(readBytes(out) == before) << "the existing output changed";
}

INSTANTIATE_TEST_SUITE_P(EveryContainer, FxFullDiskTest,
                         ::testing::Values("wav", "flac", "aiff", "caf", "au", "w64", "mp3"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return std::string(info.param);
                         });

// Ogg Vorbis cannot hold 16-bit samples, so its existing file is made from float.
TEST(FxFullDiskOggTest, ExistingOggIsLeftAsItWas) {
    SmallDisk disk(64);
    if (!disk.available()) GTEST_SKIP() << disk.whyNot();
    TempDirectory directory;
    writeInput(directory.file("short.wav"), 2.0);
    writeInput(directory.file("long.wav"), 120.0);
    const std::string out = disk.file("existing.ogg");
    ASSERT_EQ(render(directory.file("short.wav"), out).exitStatus, 0);
    const std::string before = readBytes(out);
    const FxRun run = render(directory.file("long.wav"), out);
    EXPECT_EQ(run.exitStatus, 1) << run.err;
    EXPECT_NE(run.err.find("No space left on device"), std::string::npos) << run.err;
    EXPECT_TRUE(readBytes(out) == before) << "the existing output changed";
}

// A device that is always full: every container, also those whose encoder keeps quiet.
TEST(FxFullDeviceTest, EveryContainerFails) {
    TempDirectory directory;
    writeInput(directory.file("in.wav"), 2.0);
    for (const char* type : {"wav", "flac", "ogg", "mp3", "au", "aiff", "caf", "w64", "opus"}) {
        const FxRun run = render(directory.file("in.wav"), "/dev/full", {"--type", type});
        EXPECT_EQ(run.exitStatus, 1) << type << ": " << run.err;
        EXPECT_NE(run.err.find("cannot write output '/dev/full': No space left on device"),
                  std::string::npos)
            << type << ": " << run.err;
        EXPECT_EQ(run.err.find("Not a valid error number"), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find("This is a bug in libsndfile"), std::string::npos) << run.err;
    }
}

// A 6 s file with a second hard link on disk, and an 18 s input to replace it with.
std::string hardLinkedOutput(const SmallDisk& disk, const TempDirectory& directory) {
    writeInput(directory.file("old.wav"), 6.0);
    writeInput(directory.file("new.wav"), 18.0);
    const std::string out = disk.file("existing.wav");
    writeBytes(out, readBytes(directory.file("old.wav")));
    EXPECT_EQ(link(out.c_str(), disk.file("other.wav").c_str()), 0);
    return out;
}

// A file with two hard links is rewritten in place; when the disk cannot hold the new contents
// beside the finished temporary file, both links keep the old contents.
TEST(FxFullDiskTest, HardLinkedOutputIsLeftAsItWas) {
    SmallDisk disk(512);
    if (!disk.available()) GTEST_SKIP() << disk.whyNot();
    TempDirectory directory;
    const std::string out = hardLinkedOutput(disk, directory);
    const std::string before = readBytes(out);

    const FxRun run = render(directory.file("new.wav"), out);
    EXPECT_EQ(run.exitStatus, 1) << run.err;
    EXPECT_NE(run.err.find("No space left on device"), std::string::npos) << run.err;
    EXPECT_TRUE(readBytes(out) == before) << "the existing output changed";
    EXPECT_TRUE(readBytes(disk.file("other.wav")) == before) << "the other link changed";
    struct stat status {};
    ASSERT_EQ(stat(out.c_str(), &status), 0);
    EXPECT_EQ(status.st_nlink, 2u);
}

// With room for it, the same rewrite goes through and both links see the new file.
TEST(FxFullDiskTest, HardLinkedOutputIsRewrittenWhereThereIsRoom) {
    SmallDisk disk(1024);
    if (!disk.available()) GTEST_SKIP() << disk.whyNot();
    TempDirectory directory;
    const std::string out = hardLinkedOutput(disk, directory);
    const FxRun run = render(directory.file("new.wav"), out);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_TRUE(readBytes(disk.file("other.wav")) == readBytes(out));
    EXPECT_EQ(WavFile::read(out).frames(), 18u * kRate);
}

// FLAC into a pipe: the encoder's closing rewrite of its header cannot go back into the
// stream, and must not be appended to it either; the stream then tests clean.
TEST(FxStreamTest, FlacThroughAPipeTestsClean) {
    if (std::system("command -v flac > /dev/null") != 0) {
        GTEST_SKIP() << "flac is not installed (scripts/install-deps.sh installs it)";
    }
    TempDirectory directory;
    writeInput(directory.file("in.wav"), 3.0);
    const std::string log = directory.file("flac.log");
    const std::string command = FxProcess::program() + " render '" + directory.file("in.wav") +
                                "' - --type flac --quiet --node delay | flac -t - 2> '" + log + "'";
    EXPECT_EQ(std::system(command.c_str()), 0) << readBytes(log);
    EXPECT_EQ(readBytes(log).find("LOST_SYNC"), std::string::npos) << readBytes(log);
}

}  // namespace
}  // namespace ostrana::fx::testing
