#pragma once

#include <algorithm>
#include <cmath>

#include <ostrana/audioeffects/ParameterDefinition.h>
#include <ostrana/sdk/AudioBuffer.h>

namespace ostrana::extensions::audioeffects {

// The output level every effect has: a gain in decibels on what the effect gives, 0 dB (no
// arithmetic at all) by default.
inline constexpr float kLowestLevelDb = -60.0f;
inline constexpr float kHighestLevelDb = 12.0f;

inline constexpr ParameterDefinition kOutputLevel =
    ParameterDefinition::realNumber("level")
        .from(kLowestLevelDb)
        .to(kHighestLevelDb)
        .startingAt(0.0f)
        .inDecibels()
        .describedAs("The output level in decibels. 0 leaves the output as it is.");

// The gain of an output level in decibels: 10^(dB / 20) worked out in double and rounded once
// to float, with the level held to its range (-60 to +12 dB; not a number counts as 0 dB) so
// that no setting can make the gain infinite. 0 dB gives exactly 1.
inline float gainOfLevel(float levelDb) {
    const float held =
        std::isnan(levelDb) ? 0.0f : std::clamp(levelDb, kLowestLevelDb, kHighestLevelDb);
    return static_cast<float>(std::pow(10.0, static_cast<double>(held) / 20.0));
}

// The output level's gain as the audio thread keeps it: worked out again only when the level
// changed since the last block.
struct OutputGain {
    float levelDb = 0.0f;
    float gain = 1.0f;

    float forLevel(float newLevelDb) {
        if (newLevelDb != levelDb || std::isnan(newLevelDb)) {
            levelDb = newLevelDb;
            gain = gainOfLevel(newLevelDb);
        }
        return gain;
    }
};

// Multiplies frames samples of each of the output's first channels by gain: one float multiply
// a sample. At a gain of exactly 1 nothing is touched, so a 0 dB level adds no arithmetic.
inline void applyOutputGain(AudioBuffer<float>& output, unsigned int channels, unsigned int frames,
                            float gain) {
    if (gain == 1.0f) return;
    for (unsigned int channel = 0; channel < channels; ++channel) {
        float* samples = output.getChannel(channel);
        for (unsigned int frame = 0; frame < frames; ++frame) samples[frame] *= gain;
    }
}

}  // namespace ostrana::extensions::audioeffects
