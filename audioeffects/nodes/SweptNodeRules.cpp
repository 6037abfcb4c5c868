#include "nodes/SweptNodeRules.h"

#include "nodes/DelayLineLength.h"

namespace ostrana::extensions::audioeffects {

std::vector<audio::CircularBuffer> SweptNodeRules::makeLines(unsigned int numberOfChannels) {
    std::vector<audio::CircularBuffer> lines;
    lines.reserve(numberOfChannels);
    for (unsigned int i = 0; i < numberOfChannels; ++i) lines.emplace_back(kDelayLineLength);
    return lines;
}

audio::LFO SweptNodeRules::makeOscillator(float frequency, float phaseOffset) {
    audio::LFO oscillator;
    oscillator.setFrequency(frequency);
    oscillator.setSwing(audio::LFO::Swing::ZeroToOne);
    oscillator.setPhaseOffset(phaseOffset);
    return oscillator;
}

float SweptNodeRules::phaseOffsetOf(unsigned int channel, float degrees) {
    constexpr double kPi = 3.141592653589793;
    const double perChannel = static_cast<double>(degrees) / 180.0 * kPi;
    return static_cast<float>(static_cast<double>(channel) * perChannel);
}

bool SweptNodeRules::acceptsBusFormat(AudioBusFormat& inputBusFormat,
                                      AudioBusFormat& outputBusFormat) {
    if (!AudioBusFormat::matchBusFormats(inputBusFormat, outputBusFormat)) return false;
    return inputBusFormat.numberOfChannels < 3;
}

void SweptNodeRules::clearLines(std::vector<audio::CircularBuffer>& lines) {
    for (audio::CircularBuffer& line : lines) line.reset();
}

}  // namespace ostrana::extensions::audioeffects
