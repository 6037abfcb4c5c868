#include "TestSignal.h"

#include <cmath>
#include <cstdint>

namespace ostrana::fx::testing {

std::vector<float> makeTestSignal(unsigned int channels, std::size_t frames,
                                  unsigned int sampleRate, float amplitude) {
    std::vector<float> samples(frames * channels);
    std::uint32_t state = 12345u;
    const std::size_t impulseSpacing = sampleRate / 4;
    for (std::size_t f = 0; f < frames; ++f) {
        for (unsigned int c = 0; c < channels; ++c) {
            state = state * 1664525u + 1013904223u;
            const double noise = static_cast<double>(state >> 8) / 8388608.0 - 1.0;
            const double frequency = 220.0 * (c + 1);
            const double sine =
                std::sin(2.0 * 3.141592653589793 * frequency * static_cast<double>(f) / sampleRate);
            double value = 0.6 * sine + 0.2 * noise;
            if (impulseSpacing > 0 && f % impulseSpacing == c) value = 1.0;
            samples[f * channels + c] = static_cast<float>(value * amplitude);
        }
    }
    return samples;
}

}  // namespace ostrana::fx::testing
