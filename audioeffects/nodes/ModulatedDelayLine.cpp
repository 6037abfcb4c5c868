#include "nodes/ModulatedDelayLine.h"

#include <cmath>

namespace ostrana::extensions::audioeffects {

ModulatedDelayLine::Lanes ModulatedDelayLine::widestLanes() {
#if defined(__x86_64__)
    // The compiler's run-time support reads the processor's features while the program loads;
    // this only tests a bit of what it found.
    if (__builtin_cpu_supports("avx2")) return Lanes::kEight;
#endif
    return Lanes::kFour;
}

float ModulatedDelayLine::readWrapped(const audio::CircularBuffer& line, float position) {
    return line.interpolate(std::fmod(position, static_cast<float>(line.getSize())));
}

std::vector<audio::CircularBuffer> ModulatedDelayLine::makeLines(unsigned int numberOfChannels) {
    std::vector<audio::CircularBuffer> lines;
    lines.reserve(numberOfChannels);
    for (unsigned int i = 0; i < numberOfChannels; ++i) lines.emplace_back(kLineLength);
    return lines;
}

audio::LFO ModulatedDelayLine::makeOscillator(float frequency, float phaseOffset) {
    audio::LFO oscillator;
    oscillator.setFrequency(frequency);
    oscillator.setAmplitude(kAmplitude);
    oscillator.setOffset(kOffset);
    oscillator.setPhaseOffset(phaseOffset);
    return oscillator;
}

float ModulatedDelayLine::phaseOffsetOf(unsigned int channel) {
    return static_cast<float>(static_cast<double>(channel) * 1.5707963267948966);
}

bool ModulatedDelayLine::acceptsBusFormat(AudioBusFormat& inputBusFormat,
                                          AudioBusFormat& outputBusFormat) {
    if (!AudioBusFormat::matchBusFormats(inputBusFormat, outputBusFormat)) return false;
    return inputBusFormat.numberOfChannels < 3;
}

void ModulatedDelayLine::followFormat(unsigned int sampleRate, unsigned int numberOfChannels,
                                      unsigned int& lastSampleRate,
                                      unsigned int& lastNumberOfChannels,
                                      std::vector<audio::CircularBuffer>& lines) {
    if (sampleRate == lastSampleRate && numberOfChannels == lastNumberOfChannels) return;
    for (audio::CircularBuffer& line : lines) line.reset();
    lastSampleRate = sampleRate;
    lastNumberOfChannels = numberOfChannels;
}

}  // namespace ostrana::extensions::audioeffects
