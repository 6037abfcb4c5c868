#include <ostrana/audioeffects/ChorusNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ModulatedDelayLine.h"
#include "nodes/ModulatedEffectState.h"

namespace ostrana::extensions::audioeffects {

struct ChorusNode::Internals : ModulatedEffectState<kChorusEffect> {
    using ModulatedEffectState::ModulatedEffectState;

    float wetGain = kChorusEffect.wetGain;
};

ChorusNode::ChorusNode(unsigned int numberOfChannels)
    : internals_(std::make_unique<Internals>(numberOfChannels)) {}

ChorusNode::~ChorusNode() = default;

bool ChorusNode::getIsEnabled() {
    return internals_->getIsEnabled();
}

void ChorusNode::setIsEnabled(bool isEnabled) {
    internals_->setIsEnabled(isEnabled);
}

float ChorusNode::getSweepWidth() {
    return internals_->getSweepWidth();
}

void ChorusNode::setSweepWidth(float sweepWidth) {
    internals_->setSweepWidth(sweepWidth);
}

float ChorusNode::getFrequency() {
    return internals_->getFrequency();
}

void ChorusNode::setFrequency(float frequency) {
    internals_->setFrequency(frequency);
}

bool ChorusNode::setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) {
    return ModulatedDelayLine::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool ChorusNode::process(AudioBus& inBus, AudioBus& outBus) {
    // The chorus writes the bare input into its lines: no feedback.
    return internals_->process(inBus, outBus, internals_->wetGain, 0.0f);
}

NodeTypeInfo ChorusNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Chorus", "Chorus",
                                  "Applies a chorus effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
