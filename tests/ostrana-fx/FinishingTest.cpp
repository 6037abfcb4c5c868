// The finishing tools: --gain, --normalize, --trim, --fade-in/--fade-out, --quality, and the
// formats and stats commands.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#include "FxProcess.h"
#include "InProcessChain.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

constexpr unsigned int kRate = 48000;
constexpr std::size_t kFrames = 48000;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

class FxFinishingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        input = makeTestSignal(2, kFrames, kRate, 0.9f);
        WavFile::write(directory.file("in.wav"), 2, kRate, input, kFloatWav);
    }

    FxRun render(const std::string& out, const std::vector<std::string>& more) const {
        std::vector<std::string> arguments{"render", directory.file("in.wav"), directory.file(out),
                                           "--quiet"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return FxProcess::run(arguments);
    }

    std::vector<float> delayed(const std::vector<float>& audio) const {
        return renderInProcess({{"AudioEffects.Delay"}}, audio, 2, kRate, 512);
    }

    TempDirectory directory;
    std::vector<float> input;
};

TEST_F(FxFinishingTest, GainScalesEverySample) {
    const FxRun run = render("out.wav", {"--tail", "0", "--gain", "-6", "--node", "delay"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const std::vector<float> exact = delayed(input);
    const auto gain = static_cast<float>(std::pow(10.0, -6.0 / 20.0));
    const std::vector<float> got = WavFile::read(directory.file("out.wav")).samples;
    ASSERT_EQ(got.size(), exact.size());
    for (std::size_t i = 0; i < got.size(); ++i) ASSERT_EQ(got[i], exact[i] * gain) << i;
}

// The chorus and flanger take this input far beyond full scale; normalised to -1 dBFS, the
// 16-bit output clips nothing and peaks at -1 dBFS.
TEST_F(FxFinishingTest, NormalizeBringsThePeakToTheLevelAskedAndClipsNothing) {
    const FxRun loud = render("loud.flac", {"--format", "pcm16", "--node", "chorus", "--node",
                                            "flanger", "--set", "frequency=0.2"});
    ASSERT_EQ(loud.exitStatus, 0) << loud.err;
    EXPECT_NE(loud.err.find("clipped"), std::string::npos) << "meant to clip without it";
    const FxRun run =
        render("song-wide.flac", {"--format", "pcm16", "--normalize", "-1", "--node", "chorus",
                                  "--node", "flanger", "--set", "frequency=0.2"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const WavFile file = WavFile::read(directory.file("song-wide.flac"));
    float peak = 0.0f;
    for (const float sample : file.samples) peak = std::max(peak, std::fabs(sample));
    EXPECT_NEAR(20.0 * std::log10(peak), -1.0, 0.01);

    const FxRun floatRun = render("float.wav", {"--normalize", "--node", "delay"});
    ASSERT_EQ(floatRun.exitStatus, 0) << floatRun.err;
    float floatPeak = 0.0f;
    for (const float sample : WavFile::read(directory.file("float.wav")).samples) {
        floatPeak = std::max(floatPeak, std::fabs(sample));
    }
    EXPECT_NEAR(floatPeak, std::pow(10.0, -1.0 / 20.0), 1e-6) << "the default is -1 dBFS";
}

TEST_F(FxFinishingTest, NormalizeFromStandardInputIsRefused) {
    const std::string command = "cat '" + directory.file("in.wav") + "' | " + FxProcess::program() +
                                " render - '" + directory.file("out.wav") +
                                "' --normalize --node delay 2> /dev/null";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 2);
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.wav")));
}

// Trimmed and faded: the chain hears the half-cosine-faded second from 0.25 s.
TEST_F(FxFinishingTest, TrimAndFadesShapeTheInputBeforeTheChain) {
    const FxRun run = render("out.wav", {"--tail", "0", "--trim", "0.25,0.5", "--fade-in", "0.1",
                                         "--fade-out", "0.2", "--node", "delay"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const std::size_t start = kRate / 4;
    const std::size_t length = kRate / 2;
    const std::size_t fadeIn = kRate / 10;
    const std::size_t fadeOut = kRate / 5;
    std::vector<float> shaped(input.begin() + 2 * start, input.begin() + 2 * (start + length));
    for (std::size_t frame = 0; frame < length; ++frame) {
        double gain = 1.0;
        if (frame < fadeIn) gain *= 0.5 - 0.5 * std::cos(std::numbers::pi * frame / fadeIn);
        if (frame >= length - fadeOut) {
            gain *= 0.5 - 0.5 * std::cos(std::numbers::pi * (length - frame - 1) / fadeOut);
        }
        if (gain == 1.0) continue;
        for (std::size_t channel = 0; channel < 2; ++channel) {
            float& sample = shaped[2 * frame + channel];
            sample = static_cast<float>(sample * gain);
        }
    }
    EXPECT_EQ(firstBitDifference(WavFile::read(directory.file("out.wav")).samples, delayed(shaped)),
              -1);
    EXPECT_EQ(WavFile::read(directory.file("out.wav")).frames(), length);
}

TEST_F(FxFinishingTest, QualitySetsTheSizeOfLossyFilesAndIsRefusedForOthers) {
    ASSERT_EQ(render("low.ogg", {"--quality", "1", "--node", "delay"}).exitStatus, 0);
    ASSERT_EQ(render("high.ogg", {"--quality", "9", "--node", "delay"}).exitStatus, 0);
    EXPECT_LT(readBytes(directory.file("low.ogg")).size(),
              readBytes(directory.file("high.ogg")).size());
    const FxRun wav = render("out.wav", {"--quality", "5", "--node", "delay"});
    EXPECT_EQ(wav.exitStatus, 2) << wav.err;
    EXPECT_NE(wav.err.find("--quality applies to flac, ogg, opus and mp3"), std::string::npos);
}

TEST_F(FxFinishingTest, UpmixOfAnInputThatIsNotMonoIsRefused) {
    const FxRun run = render("out.wav", {"--upmix", "--node", "ping-pong-delay"});
    EXPECT_EQ(run.exitStatus, 2) << run.err;
    EXPECT_NE(run.err.find("--upmix duplicates a mono input"), std::string::npos) << run.err;
}

// --channels 2: the delay runs on the second channel alone; the first passes through.
TEST_F(FxFinishingTest, ChannelsNotChosenPassThrough) {
    const FxRun run = render("out.wav", {"--tail", "0", "--channels", "2", "--node", "delay"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    std::vector<float> first;
    std::vector<float> second;
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        first.push_back(input[2 * frame]);
        second.push_back(input[2 * frame + 1]);
    }
    const std::vector<float> processed =
        renderInProcess({{"AudioEffects.Delay"}}, second, 1, kRate, 512);
    const std::vector<float> got = WavFile::read(directory.file("out.wav")).samples;
    ASSERT_EQ(got.size(), 2 * kFrames);
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        ASSERT_EQ(got[2 * frame], first[frame]) << frame;
        ASSERT_EQ(got[2 * frame + 1], processed[frame]) << frame;
    }
    const FxRun bad = render("bad.wav", {"--channels", "3", "--node", "delay"});
    EXPECT_EQ(bad.exitStatus, 2);
    EXPECT_NE(bad.err.find("the input has 2 channels, not 3"), std::string::npos) << bad.err;
}

TEST(FxFormatsTest, ListsTheWritableExtensionsWithTheirSampleFormats) {
    const FxRun run = FxProcess::run({"formats"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    for (const char* line : {"  wav     WAV (Microsoft): float, double, pcm16, pcm24, pcm32, u8\n",
                             "  flac    FLAC (Free Lossless Audio Codec): pcm16, pcm24, pcm8\n",
                             "  opus    OGG (OGG Container format): Opus\n",
                             "  ogg     OGG (OGG Container format): Vorbis\n"}) {
        EXPECT_NE(run.out.find(line), std::string::npos) << line << " in\n" << run.out;
    }
}

TEST(FxStatsTest, ReportsLengthPeakRmsDcAndClips) {
    TempDirectory directory;
    // Channel 1: 0.5, -0.5, 1.0 (clipped), 0; channel 2: 0.25 throughout.
    WavFile::write(directory.file("in.wav"), 2, 8000,
                   {0.5f, 0.25f, -0.5f, 0.25f, 1.0f, 0.25f, 0.0f, 0.25f}, kFloatWav);
    const FxRun run = FxProcess::run({"stats", directory.file("in.wav"), "--json"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const nlohmann::json stats = nlohmann::json::parse(run.out);
    EXPECT_EQ(stats["frames"], 4);
    EXPECT_EQ(stats["channels"], 2);
    EXPECT_EQ(stats["sample_rate"], 8000);
    EXPECT_DOUBLE_EQ(stats["seconds"].get<double>(), 0.0005);
    EXPECT_DOUBLE_EQ(stats["levels"]["peak"].get<double>(), 1.0);
    EXPECT_EQ(stats["levels"]["clipped_samples"], 1);
    EXPECT_DOUBLE_EQ(stats["channel_levels"][0]["dc_offset"].get<double>(), 0.25);
    EXPECT_DOUBLE_EQ(stats["channel_levels"][1]["rms"].get<double>(), 0.25);
    EXPECT_DOUBLE_EQ(stats["channel_levels"][1]["peak_dbfs"].get<double>(),
                     20.0 * std::log10(0.25));

    const FxRun text = FxProcess::run({"stats", directory.file("in.wav")});
    ASSERT_EQ(text.exitStatus, 0) << text.err;
    EXPECT_NE(text.out.find("2 channels at 8000 Hz, 4 frames (0.001 s)"), std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("  all:       peak 0.00 dBFS"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("1 clipped"), std::string::npos) << text.out;
}

}  // namespace
}  // namespace ostrana::fx::testing
