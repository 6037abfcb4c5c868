#include "nodes/SweptEffectProcessor.h"

#include <bit>
#include <cstdint>

#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

SweptEffectProcessor::SweptEffectProcessor(unsigned int channels, bool oscillatorPerChannel,
                                           std::span<const SweptSlot> slots)
    : numberOfChannels_(channels), lines_(SweptNodeRules::makeLines(channels)) {
    startFromDefaults<SweptParameters>(*this, slots);
    const float startingFrequency = frequency.load();
    if (oscillatorPerChannel) {
        oscillators_.reserve(channels);
        for (unsigned int i = 0; i < channels; ++i) {
            oscillators_.push_back(SweptNodeRules::makeOscillator(
                startingFrequency, SweptNodeRules::phaseOffsetOf(i)));
        }
    } else {
        oscillators_.push_back(SweptNodeRules::makeOscillator(startingFrequency, 0.0f));
    }
    lookAheads_.resize(oscillators_.size());
}

void SweptEffectProcessor::passFrequencyOn() {
    const float wanted = frequency.load(std::memory_order_relaxed);
    for (audio::LFO& oscillator : oscillators_) {
        // Compared bit for bit, so that a NaN or a zero of the other sign is handed on too.
        if (std::bit_cast<std::uint32_t>(oscillator.getFrequency()) !=
            std::bit_cast<std::uint32_t>(wanted)) {
            oscillator.setFrequency(wanted);
        }
    }
}

bool SweptEffectProcessor::prepareBlock(AudioBus& inBus, AudioBus& outBus) {
    if (!SingleBusAudioProcessorNode::busesFit(inBus, outBus, numberOfChannels_) ||
        !isEnabled.load(std::memory_order_relaxed)) {
        outBus.copyFrom(inBus);
        return false;
    }
    // The block is rendered, which writes every sample of its channels: the output takes the
    // input's format, and copying the samples first would only be overwritten.
    outBus.buffer.setNumberOfFrames(inBus.buffer.getNumberOfFrames());
    outBus.buffer.setSampleRate(inBus.buffer.getSampleRate());
    SweptNodeRules::followFormat(inBus.buffer.getSampleRate(), inBus.buffer.getNumberOfChannels(),
                                 lastSampleRate_, lastNumberOfChannels_, lines_);
    passFrequencyOn();
    return true;
}

}  // namespace ostrana::extensions::audioeffects
