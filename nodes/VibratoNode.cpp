#include "nodes/VibratoNode.h"

#include <atomic>
#include <vector>

#include "audio/CircularBuffer.h"
#include "audio/LFO.h"
#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ModulatedDelayLine.h"

namespace ostrana::extensions::audioeffects {

struct VibratoNode::Internals {
    explicit Internals(unsigned int channels)
        : numberOfChannels(channels),
          lfo(ModulatedDelayLine::makeOscillator(kVibratoEffect.defaultFrequency, 0.0f)),
          delayLines(ModulatedDelayLine::makeLines(channels)) {}

    unsigned int numberOfChannels;
    audio::LFO lfo;
    std::vector<audio::CircularBuffer> delayLines;
    unsigned int lastSampleRate = 0;
    unsigned int lastNumberOfChannels = 0;
    std::atomic<bool> isEnabled{true};
    std::atomic<float> sweepWidth{kVibratoEffect.defaultSweepWidth};

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
};

VibratoNode::VibratoNode(unsigned int numberOfChannels)
    : internals_(std::make_unique<Internals>(numberOfChannels)) {}

VibratoNode::~VibratoNode() = default;

bool VibratoNode::getIsEnabled() {
    return internals_->isEnabled.load(std::memory_order_relaxed);
}

void VibratoNode::setIsEnabled(bool isEnabled) {
    internals_->isEnabled.exchange(isEnabled);
}

float VibratoNode::getSweepWidth() {
    return internals_->sweepWidth.load(std::memory_order_relaxed);
}

void VibratoNode::setSweepWidth(float sweepWidth) {
    internals_->sweepWidth.exchange(sweepWidth);
}

float VibratoNode::getFrequency() {
    return internals_->lfo.getFrequency();
}

void VibratoNode::setFrequency(float frequency) {
    internals_->lfo.setFrequency(frequency);
}

bool VibratoNode::setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) {
    return ModulatedDelayLine::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool VibratoNode::process(AudioBus& inBus, AudioBus& outBus) {
    outBus.copyFrom(inBus);
    Internals& state = *internals_;
    if (!busesFit(inBus, outBus, state.numberOfChannels)) return true;
    if (!state.isEnabled.load(std::memory_order_relaxed)) return true;

    const AudioBuffer<float>& input = inBus.buffer;
    const unsigned int sampleRate = input.getSampleRate();
    const unsigned int channels = input.getNumberOfChannels();
    const unsigned int frames = input.getNumberOfFrames();
    ModulatedDelayLine::followFormat(sampleRate, channels, state.lastSampleRate,
                                     state.lastNumberOfChannels, state.delayLines);
    if (frames == 0) return true;

    if (channels == 0) {
        // The oscillator keeps running through blocks that carry no channels.
        for (unsigned int f = 0; f < frames; ++f) state.lfo.process(static_cast<int>(sampleRate));
        return true;
    }
    ModulatedDelayLine::render<kVibratoEffect>(
        input, outBus.buffer, &state.lfo, state.delayLines.data(), state.sweepWidth, 0.0f, 0.0f);
    return true;
}

NodeTypeInfo VibratoNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Vibrato", "Vibrato",
                                  "Applies a vibrato effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
