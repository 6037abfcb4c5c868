// The oscillator's four setters, called from two control threads while another thread runs
// process sample after sample. Under ThreadSanitizer this proves the parameters are safe to
// change while the oscillator runs; in every build it checks that every output stayed within
// the widest range the written settings allow, that every concurrent read returned a value
// some thread wrote (or the default), and that the final values are the last ones written.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <ostrana/audio/LFO.h>

#include "audioeffects/concurrency/ConcurrentRun.h"

namespace {

using ostrana::audio::LFO;
using ostrana::testing::ConcurrentRun;

constexpr auto kRunTime = std::chrono::milliseconds(1000);
constexpr unsigned int kSamplesPerStep = 256;
constexpr int kSampleRate = 48000;

enum Setting { kFrequency, kAmplitude, kOffset, kPhaseOffset, kSettingCount };

struct SettingValues {
    float defaultValue;
    std::vector<float> values[ConcurrentRun::kControlThreads];

    bool mayRead(float value) const {
        if (value == defaultValue) return true;
        for (const std::vector<float>& written : values) {
            for (float candidate : written) {
                if (value == candidate) return true;
            }
        }
        return false;
    }

    float largestMagnitude() const {
        float largest = std::fabs(defaultValue);
        for (const std::vector<float>& written : values) {
            for (float candidate : written) largest = std::fmax(largest, std::fabs(candidate));
        }
        return largest;
    }
};

const SettingValues kSettings[kSettingCount] = {
    {10.0f, {{0.5f, 440.0f, 20000.0f, 3.0f}, {1.0f, 1000.0f, 47999.0f}}},
    {1.0f, {{0.5f, 2.0f, 0.25f}, {1.5f, 0.0f, -1.0f}}},
    {0.0f, {{0.5f, -0.5f, 3.0f}, {1.0f, -2.0f}}},
    {0.0f, {{1.5707964f, 3.0f, -1.0f}, {0.25f, 6.0f}}},
};

void set(LFO& lfo, int setting, float value) {
    switch (setting) {
        case kFrequency:
            lfo.setFrequency(value);
            break;
        case kAmplitude:
            lfo.setAmplitude(value);
            break;
        case kOffset:
            lfo.setOffset(value);
            break;
        default:
            lfo.setPhaseOffset(value);
            break;
    }
}

float get(const LFO& lfo, int setting) {
    switch (setting) {
        case kFrequency:
            return lfo.getFrequency();
        case kAmplitude:
            return lfo.getAmplitude();
        case kOffset:
            return lfo.getOffset();
        default:
            return lfo.getPhaseOffset();
    }
}

TEST(LFOConcurrencyTest, SettersRunWhileTheOscillatorProcesses) {
    LFO lfo;
    // |sin| <= 1, so each output is at most the largest amplitude plus the largest offset in
    // magnitude; rounding is monotonic, so that sum rounded to float bounds it exactly.
    const float bound =
        kSettings[kAmplitude].largestMagnitude() + kSettings[kOffset].largestMagnitude();
    std::uint64_t outOfRange = 0;
    std::uint64_t samples = 0;
    std::optional<float> lastWritten[ConcurrentRun::kControlThreads][kSettingCount];
    std::uint64_t strayReads[ConcurrentRun::kControlThreads] = {};

    const ConcurrentRun::Counts counts = ConcurrentRun::run(
        kRunTime,
        [&] {
            for (unsigned int i = 0; i < kSamplesPerStep; ++i) {
                const float value = lfo.process(kSampleRate);
                if (!(std::fabs(value) <= bound)) ++outOfRange;
            }
            samples += kSamplesPerStep;
        },
        [&](unsigned int thread, std::uint64_t step) {
            const int setting = static_cast<int>(step % kSettingCount);
            const std::vector<float>& values = kSettings[setting].values[thread];
            const float value = values[(step / kSettingCount) % values.size()];
            set(lfo, setting, value);
            lastWritten[thread][setting] = value;
            if (!kSettings[setting].mayRead(get(lfo, setting))) ++strayReads[thread];
        });

    RecordProperty("samples", std::to_string(samples));
    RecordProperty("controlSteps", std::to_string(counts.controlSteps[0]) + "+" +
                                       std::to_string(counts.controlSteps[1]));
    EXPECT_GE(counts.audioSteps, 20u);
    EXPECT_EQ(samples, counts.audioSteps * kSamplesPerStep);
    EXPECT_EQ(outOfRange, 0u);
    for (unsigned int thread = 0; thread < ConcurrentRun::kControlThreads; ++thread) {
        EXPECT_GE(counts.controlSteps[thread], 4u * kSettingCount);
        EXPECT_EQ(strayReads[thread], 0u);
    }
    for (int setting = 0; setting < kSettingCount; ++setting) {
        ASSERT_TRUE(lastWritten[0][setting] && lastWritten[1][setting]);
        const float final = get(lfo, setting);
        EXPECT_TRUE(final == *lastWritten[0][setting] || final == *lastWritten[1][setting])
            << "setting " << setting << " ends at " << final;
    }
}

}  // namespace
