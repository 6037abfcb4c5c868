#include "nodes/ChorusNode.h"

#include <atomic>
#include <vector>

#include "audio/CircularBuffer.h"
#include "audio/LFO.h"
#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ModulatedDelayLine.h"

namespace ostrana::extensions::audioeffects {

struct ChorusNode::Internals {
    explicit Internals(unsigned int channels)
        : numberOfChannels(channels), delayLines(ModulatedDelayLine::makeLines(channels)) {
        lfos.reserve(channels);
        for (unsigned int i = 0; i < channels; ++i) {
            lfos.push_back(ModulatedDelayLine::makeOscillator(
                kChorusEffect.defaultFrequency, ModulatedDelayLine::phaseOffsetOf(i)));
        }
    }

    unsigned int numberOfChannels;
    std::vector<audio::LFO> lfos;
    std::vector<audio::CircularBuffer> delayLines;
    unsigned int lastSampleRate = 0;
    unsigned int lastNumberOfChannels = 0;
    std::atomic<bool> isEnabled{true};
    std::atomic<float> sweepWidth{kChorusEffect.defaultSweepWidth};
    float wetGain = kChorusEffect.wetGain;

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
};

ChorusNode::ChorusNode(unsigned int numberOfChannels)
    : internals_(std::make_unique<Internals>(numberOfChannels)) {}

ChorusNode::~ChorusNode() = default;

bool ChorusNode::getIsEnabled() {
    return internals_->isEnabled.load(std::memory_order_relaxed);
}

void ChorusNode::setIsEnabled(bool isEnabled) {
    internals_->isEnabled.exchange(isEnabled);
}

float ChorusNode::getSweepWidth() {
    return internals_->sweepWidth.load(std::memory_order_relaxed);
}

void ChorusNode::setSweepWidth(float sweepWidth) {
    internals_->sweepWidth.exchange(sweepWidth);
}

float ChorusNode::getFrequency() {
    if (internals_->lfos.empty()) return kChorusEffect.defaultFrequency;
    return internals_->lfos.front().getFrequency();
}

void ChorusNode::setFrequency(float frequency) {
    for (audio::LFO& lfo : internals_->lfos) lfo.setFrequency(frequency);
}

bool ChorusNode::setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) {
    return ModulatedDelayLine::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool ChorusNode::process(AudioBus& inBus, AudioBus& outBus) {
    outBus.copyFrom(inBus);
    Internals& state = *internals_;
    if (!busesFit(inBus, outBus, state.numberOfChannels)) return true;
    if (!state.isEnabled.load(std::memory_order_relaxed)) return true;

    const AudioBuffer<float>& input = inBus.buffer;
    const unsigned int channels = input.getNumberOfChannels();
    ModulatedDelayLine::followFormat(input.getSampleRate(), channels, state.lastSampleRate,
                                     state.lastNumberOfChannels, state.delayLines);
    if (input.getNumberOfFrames() == 0 || channels == 0) return true;

    ModulatedDelayLine::render<kChorusEffect>(input, outBus.buffer, state.lfos.data(),
                                              state.delayLines.data(), state.sweepWidth,
                                              state.wetGain, 0.0f);
    return true;
}

NodeTypeInfo ChorusNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Chorus", "Chorus",
                                  "Applies a chorus effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
