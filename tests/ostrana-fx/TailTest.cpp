// How ostrana-fx ends a render: the automatic tail (quiet stretch, cap, fade and warning),
// --tail-max, and the fixed tails, run through the real program.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "FxProcess.h"
#include "InProcessChain.h"
#include "TempDirectory.h"
#include "TestSignal.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

using extensions::audioeffects::EffectCatalogue;

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr unsigned int kRate = 48000;
constexpr float kQuiet = 1e-5f;             // -100 dBFS
constexpr std::size_t kFadeFrames = 2400;   // 50 ms at kRate
constexpr std::size_t kQuietFrames = 2400;  // 50 ms at kRate

// A tenth of a second of stereo test signal, then the render of it.
class FxTailTest : public ::testing::Test {
  protected:
    static constexpr std::size_t kFrames = 4800;

    void SetUp() override {
        input = makeTestSignal(2, kFrames, kRate);
        WavFile::write(directory.file("in.wav"), 2, kRate, input, kFloatWav);
    }

    FxRun render(const std::vector<std::string>& arguments) {
        std::vector<std::string> all{"render", directory.file("in.wav"), outputPath()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return FxProcess::run(all);
    }

    std::string outputPath() const { return directory.file("out.wav"); }

    TempDirectory directory;
    std::vector<float> input;
};

// The largest difference between neighbouring samples of a channel, over frames [from, to).
float largestStep(const WavFile& file, std::size_t from, std::size_t to) {
    float largest = 0.0f;
    for (std::size_t frame = std::max<std::size_t>(from, 1); frame < to; ++frame) {
        for (unsigned int c = 0; c < file.channels; ++c) {
            const float step = std::fabs(file.samples[frame * file.channels + c] -
                                         file.samples[(frame - 1) * file.channels + c]);
            largest = std::max(largest, step);
        }
    }
    return largest;
}

float peakOf(const WavFile& file, std::size_t from, std::size_t to) {
    float peak = 0.0f;
    for (std::size_t i = from * file.channels; i < to * file.channels; ++i) {
        peak = std::max(peak, std::fabs(file.samples[i]));
    }
    return peak;
}

// The frames at the end of the file below -100 dBFS on every channel.
std::size_t trailingQuietFrames(const WavFile& file) {
    std::size_t frames = 0;
    while (frames < file.frames() &&
           peakOf(file, file.frames() - frames - 1, file.frames() - frames) < kQuiet) {
        ++frames;
    }
    return frames;
}

TEST_F(FxTailTest, AnEchoThatRingsPastTheCapIsFadedOutAndWarnedAbout) {
    const std::vector<std::string> echo{"--tail", "auto",         "--node", "delay",
                                        "--set",  "delayMs=1000", "--set",  "feedbackLevel=0.99"};
    const FxRun run = render(echo);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_NE(run.err.find("ostrana-fx render: warning: "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("--tail-max"), std::string::npos) << run.err;
    const WavFile output = WavFile::read(outputPath());
    ASSERT_EQ(output.frames(), kFrames + 30 * kRate);
    const std::size_t fadeFrom = output.frames() - kFadeFrames;
    // Still ringing loudly just before the fade (the cap, not quiet, ended it)...
    const float before = peakOf(output, fadeFrom - kRate, fadeFrom);
    EXPECT_GT(before, 1e-3f);
    // ...and silent at the very end, reached without a step larger than the echo's own.
    for (unsigned int c = 0; c < output.channels; ++c) {
        EXPECT_EQ(output.samples[(output.frames() - 1) * 2 + c], 0.0f);
    }
    const float ownStep = largestStep(output, fadeFrom - kRate, fadeFrom);
    EXPECT_LE(largestStep(output, fadeFrom, output.frames()), ownStep + before / kFadeFrames);
    EXPECT_LT(peakOf(output, output.frames() - 48, output.frames()), before / 40.0f);
}

TEST_F(FxTailTest, StrictTurnsACappedTailIntoAFailure) {
    const FxRun run = render({"--strict", "--tail-max", "2", "--node", "delay", "--set",
                              "delayMs=1000", "--set", "feedbackLevel=0.99"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_NE(run.err.find("--tail-max"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(outputPath()));
}

TEST_F(FxTailTest, TailMaxSetsTheCap) {
    const FxRun run = render({"--tail-max", "5", "--node", "delay", "--set", "delayMs=1000",
                              "--set", "feedbackLevel=0.99"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_NE(run.err.find("5 s"), std::string::npos) << run.err;
    const WavFile output = WavFile::read(outputPath());
    EXPECT_EQ(output.frames(), kFrames + 5 * kRate);
    EXPECT_EQ(output.samples.back(), 0.0f);
}

TEST_F(FxTailTest, TailMaxTakesSecondsOnly) {
    for (const char* value : {"auto", "-1", "3601", "1e1"}) {
        const FxRun run = render({"--tail-max", value, "--node", "delay"});
        EXPECT_EQ(run.exitStatus, 2) << value;
        EXPECT_NE(run.err.find("--tail-max"), std::string::npos) << run.err;
    }
}

TEST_F(FxTailTest, AFlangersTailEndsSoonAfterItFallsQuiet) {
    const FxRun run = render({"--node", "flanger"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const WavFile output = WavFile::read(outputPath());
    // The flanger's sweep (5 ms by default) is shorter than 50 ms, so 50 ms of quiet end it.
    EXPECT_EQ(trailingQuietFrames(output), kQuietFrames);
    EXPECT_GT(output.frames(), kFrames + kQuietFrames);
    EXPECT_LT(output.frames(), kFrames + kQuietFrames + kRate / 10);
}

TEST_F(FxTailTest, AnEchoesTailWaitsOutTheGapBetweenEchoes) {
    const FxRun run = render({"--node", "delay", "--set", "delayMs=300"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const WavFile output = WavFile::read(outputPath());
    // 300 ms of quiet after the last echo, not the 50 ms that would cut between two echoes.
    EXPECT_EQ(trailingQuietFrames(output), 300 * kRate / 1000);
    EXPECT_LT(output.frames(), kFrames + 30 * kRate);
}

TEST_F(FxTailTest, AChorusFeedingBackRingsOutThoughItsEchoesComeFurtherApartThanItsSweep) {
    // A 50 ms sweep on the chorus's 1002-sample line: its echoes come up to 71 ms apart, so a
    // quiet stretch of the sweep alone (50 ms) would end the tail between two of them.
    const std::vector<std::string> chorus{"--node",          "chorus", "--set",
                                          "sweepWidth=0.05", "--set",  "feedback=0.9"};
    std::vector<std::string> automatic = chorus;
    const FxRun run = render(automatic);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const WavFile output = WavFile::read(outputPath());
    std::filesystem::remove(outputPath());
    std::vector<std::string> fixed{"--tail", "10"};
    fixed.insert(fixed.end(), chorus.begin(), chorus.end());
    ASSERT_EQ(render(fixed).exitStatus, 0);
    const WavFile whole = WavFile::read(outputPath());
    ASSERT_GT(whole.frames(), output.frames());
    // The automatic tail is the whole render up to where it ends, nothing faded ...
    const std::vector<float> start(whole.samples.begin(),
                                   whole.samples.begin() + output.samples.size());
    EXPECT_EQ(firstBitDifference(output.samples, start), -1);
    // ... it ends with the longest gap between echoes (50 ms and 1003 samples) of quiet ...
    EXPECT_EQ(trailingQuietFrames(output), kQuietFrames + 1003);
    // ... and nothing after it is heard: the echoes had died away below -100 dBFS.
    EXPECT_LT(peakOf(whole, output.frames(), whole.frames()), kQuiet);
    EXPECT_GT(output.frames(), kFrames + kRate);
}

TEST_F(FxTailTest, FixedTailsKeepTheirLengthsAndSamples) {
    ASSERT_EQ(render({"--tail", "0", "--node", "delay"}).exitStatus, 0);
    EXPECT_EQ(WavFile::read(outputPath()).frames(), kFrames);
    std::filesystem::remove(outputPath());
    const FxRun run = render({"--tail", "2.5", "--node", "delay", "--set", "feedbackLevel=0.99",
                              "--set", "delayMs=1000"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const WavFile output = WavFile::read(outputPath());
    ASSERT_EQ(output.frames(), kFrames + 5 * kRate / 2);
    // Exactly the effect on the input and 2.5 s of silence: no fade, cut where asked.
    std::vector<float> padded = input;
    padded.resize(output.samples.size(), 0.0f);
    const std::vector<float> expected = renderInProcess(
        {{"AudioEffects.Delay",
          [](Node& node) {
              EffectCatalogue::find("delay")->findParameter("delayMs")->write(node, 1000u);
              EffectCatalogue::find("delay")->findParameter("feedbackLevel")->write(node, 0.99f);
          }}},
        padded, 2, kRate, 512);
    EXPECT_EQ(firstBitDifference(output.samples, expected), -1);
}

}  // namespace
}  // namespace ostrana::fx::testing
