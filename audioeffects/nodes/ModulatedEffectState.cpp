#include "nodes/ModulatedEffectState.h"

namespace ostrana::extensions::audioeffects {

OscillatorPerChannel::OscillatorPerChannel(unsigned int channels, float frequency)
    : numberOfChannels(channels) {
    lfos.reserve(channels);
    for (unsigned int i = 0; i < channels; ++i) {
        lfos.push_back(
            ModulatedDelayLine::makeOscillator(frequency, ModulatedDelayLine::phaseOffsetOf(i)));
    }
}

SharedOscillator::SharedOscillator(unsigned int channels, float frequency)
    : numberOfChannels(channels), lfo(ModulatedDelayLine::makeOscillator(frequency, 0.0f)) {}

}  // namespace ostrana::extensions::audioeffects
