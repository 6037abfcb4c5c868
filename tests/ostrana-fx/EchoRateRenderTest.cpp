#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FxProcess.h"
#include "TempDirectory.h"
#include "WavFile.h"

// `ostrana-fx render` keeps the delays' time at every sample rate: an impulse in a file at the
// rate comes back delayMs later, trunc(rate * ms / 1000) frames, in every channel.
namespace ostrana::fx::testing {
namespace {

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr unsigned int kRates[] = {44100, 48000, 88200, 96000, 192000, 384000};
constexpr unsigned int kChannels = 2;

unsigned int samplesOf(unsigned int sampleRate, unsigned int delayMs) {
    return static_cast<unsigned int>(std::uint64_t{sampleRate} * delayMs / 1000);
}

// Renders a stereo impulse at the rate through one node that gives only the echo, and expects
// each channel to hold exactly one 1.0, at the echo's distance.
void expectEchoAfter(const std::string& node, unsigned int sampleRate, unsigned int delayMs) {
    SCOPED_TRACE(node + " at " + std::to_string(sampleRate) + " Hz, " + std::to_string(delayMs) +
                 " ms");
    const unsigned int distance = samplesOf(sampleRate, delayMs);
    const unsigned int frames = distance + 1000;
    std::vector<float> impulse(std::size_t{frames} * kChannels, 0.0f);
    impulse[0] = 1.0f;
    impulse[1] = 1.0f;
    TempDirectory directory;
    WavFile::write(directory.file("in.wav"), kChannels, sampleRate, impulse, kFloatWav);

    const FxRun run = FxProcess::run({"render", directory.file("in.wav"), directory.file("out.wav"),
                                      "--tail", "0", "--quiet", "--node", node, "--set",
                                      "delayMs=" + std::to_string(delayMs), "--set", "dryMix=0",
                                      "--set", "wetMix=1", "--set", "feedbackLevel=0"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    const WavFile output = WavFile::read(directory.file("out.wav"));
    ASSERT_EQ(output.sampleRate, sampleRate);
    ASSERT_EQ(output.channels, kChannels);
    ASSERT_EQ(output.frames(), frames);
    for (unsigned int channel = 0; channel < kChannels; ++channel) {
        for (unsigned int frame = 0; frame < frames; ++frame) {
            const float expected = frame == distance ? 1.0f : 0.0f;
            ASSERT_EQ(output.samples[std::size_t{frame} * kChannels + channel], expected)
                << "channel " << channel << ", frame " << frame;
        }
    }
}

TEST(FxEchoAtEveryRate, DelayEchoesAfterItsTimeAtEveryRate) {
    for (const unsigned int rate : kRates) {
        for (const unsigned int delayMs : {1u, 350u, 1000u})
            expectEchoAfter("delay", rate, delayMs);
    }
}

TEST(FxEchoAtEveryRate, PingPongDelayEchoesAfterItsTimeAtEveryRate) {
    for (const unsigned int rate : kRates) {
        for (const unsigned int delayMs : {350u, 1000u}) {
            expectEchoAfter("ping-pong-delay", rate, delayMs);
        }
    }
}

}  // namespace
}  // namespace ostrana::fx::testing
