// Integer output: the tool's own rounding to the nearest step, clipping at full scale, and
// triangular dither where bits are lost; and the sample format an output gets by default.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <string>
#include <vector>

#include "FxProcess.h"
#include "InProcessChain.h"
#include "TempDirectory.h"
#include "WavFile.h"

namespace ostrana::fx::testing {
namespace {

constexpr unsigned int kRate = 44100;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// A sine sweeping from 20 Hz to 20 kHz over 4 s at -0.4 dBFS, which the delay's echo takes beyond
// full scale in places, then a quiet tail decaying far below one 16-bit step.
std::vector<float> sweep() {
    std::vector<float> samples;
    const double seconds = 4.0;
    const double ratio = 1000.0;
    const double rate = std::log(ratio) / seconds;
    for (std::size_t i = 0; i < static_cast<std::size_t>(seconds * kRate); ++i) {
        const double t = static_cast<double>(i) / kRate;
        const double phase = 2.0 * M_PI * 20.0 * (std::exp(rate * t) - 1.0) / rate;
        samples.push_back(static_cast<float>(0.95 * std::sin(phase)));
    }
    for (std::size_t i = 0; i < kRate; ++i) {
        samples.push_back(static_cast<float>(1e-3 * std::exp(-8.0 * i / kRate)));
    }
    return samples;
}

class FxEncodingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        WavFile::write(directory.file("sweep.wav"), 1, kRate, sweep(), kFloatWav);
        exact = renderInProcess({{"AudioEffects.Delay"}}, sweep(), 1, kRate, 512);
    }

    FxRun render(const std::string& out, const std::vector<std::string>& more,
                 const std::string& in = "sweep.wav") const {
        std::vector<std::string> arguments{
            "render", directory.file(in), directory.file(out), "--tail", "0", "--quiet", "--node",
            "delay"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return FxProcess::run(arguments);
    }

    // The output's samples in steps of a bits-deep format (exact: libsndfile reads integers
    // into floats by dividing by full scale).
    std::vector<double> steps(const std::string& out, unsigned int bits) const {
        const WavFile file = WavFile::read(directory.file(out));
        std::vector<double> values;
        for (const float sample : file.samples) values.push_back(std::ldexp(sample, bits - 1));
        return values;
    }

    TempDirectory directory;
    std::vector<float> exact;
};

TEST_F(FxEncodingTest, WithoutDitherEverySampleIsTheNearestStep) {
    for (const auto& [format, bits] : std::vector<std::pair<std::string, unsigned int>>{
             {"pcm16", 16}, {"pcm24", 24}, {"u8", 8}}) {
        const FxRun run = render("none.wav", {"--format", format, "--dither", "none"});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        const std::vector<double> got = steps("none.wav", bits);
        ASSERT_EQ(got.size(), exact.size());
        const double fullScale = std::ldexp(1.0, bits - 1);
        double error = 0.0;
        std::size_t clipped = 0;
        for (std::size_t i = 0; i < exact.size(); ++i) {
            const double scaled = static_cast<double>(exact[i]) * fullScale;
            const double nearest =
                std::min(std::max(std::nearbyint(scaled), -fullScale), fullScale - 1.0);
            ASSERT_EQ(got[i], nearest) << format << " sample " << i << " of " << exact[i];
            if (nearest == scaled || std::fabs(scaled) < fullScale) {
                error += got[i] - scaled;
            } else {
                ++clipped;
            }
        }
        const double meanError = error / static_cast<double>(exact.size() - clipped);
        EXPECT_LT(std::fabs(meanError), 0.01) << format << " mean error in steps";
        EXPECT_GT(clipped, 0u) << "the sweep was meant to clip somewhere";
    }
}

// Samples within half a step of silence (the echoes dying away) are silence, not -1 step.
TEST_F(FxEncodingTest, WhatIsWithinHalfAStepOfSilenceIsSilence) {
    ASSERT_EQ(render("none.wav", {"--format", "pcm16", "--dither", "none"}).exitStatus, 0);
    const std::vector<double> got = steps("none.wav", 16);
    ASSERT_EQ(got.size(), exact.size());
    std::size_t quiet = 0;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        if (!(std::fabs(exact[i] * 32768.0) < 0.5)) continue;
        ++quiet;
        ASSERT_EQ(got[i], 0.0) << "sample " << i << " of " << exact[i];
    }
    EXPECT_GT(quiet, 100u);
}

// From float to 16 bits the default is triangular dither: the same file every time, no offset,
// and noise of half a step RMS (a third of a step squared for the dither, a twelfth for the
// rounding).
TEST_F(FxEncodingTest, FloatTo16BitsIsDitheredTheSameWayEveryTime) {
    ASSERT_EQ(render("a.wav", {"--format", "pcm16"}).exitStatus, 0);
    ASSERT_EQ(render("b.wav", {"--format", "pcm16", "--dither", "triangular"}).exitStatus, 0);
    ASSERT_EQ(render("none.wav", {"--format", "pcm16", "--dither", "none"}).exitStatus, 0);
    EXPECT_TRUE(readBytes(directory.file("a.wav")) == readBytes(directory.file("b.wav")));
    EXPECT_FALSE(readBytes(directory.file("a.wav")) == readBytes(directory.file("none.wav")));
    const std::vector<double> got = steps("a.wav", 16);
    double sum = 0.0;
    double squares = 0.0;
    std::size_t counted = 0;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        const double scaled = static_cast<double>(exact[i]) * 32768.0;
        if (std::fabs(scaled) > 32760.0) continue;  // clipped, or nearly
        sum += got[i] - scaled;
        squares += (got[i] - scaled) * (got[i] - scaled);
        ++counted;
    }
    EXPECT_LT(std::fabs(sum / counted), 0.01);
    const double rms = std::sqrt(squares / counted);
    EXPECT_GT(rms, 0.45);
    EXPECT_LT(rms, 0.55);
}

// 16 bits in, 16 bits out: nothing is lost to the depth, so no dither unless asked.
TEST_F(FxEncodingTest, SixteenBitsToSixteenBitsIsNotDithered) {
    WavFile::write(directory.file("in16.wav"), 1, kRate, sweep(), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ASSERT_EQ(render("default.wav", {}, "in16.wav").exitStatus, 0);
    ASSERT_EQ(render("none.wav", {"--dither", "none"}, "in16.wav").exitStatus, 0);
    EXPECT_TRUE(readBytes(directory.file("default.wav")) == readBytes(directory.file("none.wav")));
    EXPECT_EQ(WavFile::read(directory.file("default.wav")).format,
              SF_FORMAT_WAV | SF_FORMAT_PCM_16);
}

// An MP3 holds no PCM: a WAV or FLAC made from it gets 16-bit samples; an MP3 stays an MP3.
TEST_F(FxEncodingTest, Mp3InGivesSixteenBitPcmInOtherContainers) {
    ASSERT_EQ(render("in.mp3", {}).exitStatus, 0);
    const struct {
        const char* name;
        int format;
    } cases[] = {{"out.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                 {"out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                 {"out.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III}};
    for (const auto& c : cases) {
        const FxRun run = FxProcess::run({"render", directory.file("in.mp3"),
                                          directory.file(c.name), "--quiet", "--node", "chorus"});
        ASSERT_EQ(run.exitStatus, 0) << c.name << ": " << run.err;
        EXPECT_EQ(WavFile::read(directory.file(c.name)).format, c.format) << c.name;
    }
}

}  // namespace
}  // namespace ostrana::fx::testing
