#include "nodes/SweptEffectProcessor.h"

#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

SweptEffectNode::Processor::Processor(unsigned int channels, const SweepRecipe& recipe)
    : numberOfChannels_(channels),
      defaultFrequency_(recipe.defaultFrequency),
      lines_(SweptNodeRules::makeLines(channels)),
      isEnabled_(recipe.defaultEnabled),
      sweepWidth_(recipe.defaultSweepWidth) {
    if (recipe.oscillatorPerChannel) {
        oscillators_.reserve(channels);
        for (unsigned int i = 0; i < channels; ++i) {
            oscillators_.push_back(SweptNodeRules::makeOscillator(
                recipe.defaultFrequency, SweptNodeRules::phaseOffsetOf(i)));
        }
    } else {
        oscillators_.push_back(SweptNodeRules::makeOscillator(recipe.defaultFrequency, 0.0f));
    }
    lookAheads_.resize(oscillators_.size());
}

float SweptEffectNode::Processor::getFrequency() const {
    return oscillators_.empty() ? defaultFrequency_ : oscillators_.front().getFrequency();
}

void SweptEffectNode::Processor::setFrequency(float frequency) {
    for (audio::LFO& oscillator : oscillators_) oscillator.setFrequency(frequency);
}

bool SweptEffectNode::Processor::prepareBlock(AudioBus& inBus, AudioBus& outBus) {
    if (!SingleBusAudioProcessorNode::busesFit(inBus, outBus, numberOfChannels_) ||
        !isEnabled_.load(std::memory_order_relaxed)) {
        outBus.copyFrom(inBus);
        return false;
    }
    // The block is rendered, which writes every sample of its channels: the output takes the
    // input's format, and copying the samples first would only be overwritten.
    outBus.buffer.setNumberOfFrames(inBus.buffer.getNumberOfFrames());
    outBus.buffer.setSampleRate(inBus.buffer.getSampleRate());
    SweptNodeRules::followFormat(inBus.buffer.getSampleRate(), inBus.buffer.getNumberOfChannels(),
                                 lastSampleRate_, lastNumberOfChannels_, lines_);
    return true;
}

}  // namespace ostrana::extensions::audioeffects
