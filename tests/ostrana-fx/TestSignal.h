#pragma once

#include <cstddef>
#include <vector>

namespace ostrana::fx::testing {

// Deterministic interleaved test audio: a different sine on each channel, noise, and an
// impulse every quarter second, peaking near amplitude (so that effects which add their
// wet signal to the dry one can go beyond full scale when amplitude is high).
std::vector<float> makeTestSignal(unsigned int channels, std::size_t frames,
                                  unsigned int sampleRate, float amplitude = 0.5f);

}  // namespace ostrana::fx::testing
