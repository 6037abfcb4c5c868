#include <ostrana/audioeffects/FlangerNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ModulatedDelayLine.h"
#include "nodes/ModulatedEffectState.h"

namespace ostrana::extensions::audioeffects {

struct FlangerNode::Internals : ModulatedEffectState<kFlangerEffect> {
    using ModulatedEffectState::ModulatedEffectState;

    float wetGain = kFlangerEffect.wetGain;
    float feedback = kFlangerEffect.feedback;
};

FlangerNode::FlangerNode(unsigned int numberOfChannels)
    : internals_(std::make_unique<Internals>(numberOfChannels)) {}

FlangerNode::~FlangerNode() = default;

bool FlangerNode::getIsEnabled() {
    return internals_->getIsEnabled();
}

void FlangerNode::setIsEnabled(bool isEnabled) {
    internals_->setIsEnabled(isEnabled);
}

float FlangerNode::getSweepWidth() {
    return internals_->getSweepWidth();
}

void FlangerNode::setSweepWidth(float sweepWidth) {
    internals_->setSweepWidth(sweepWidth);
}

float FlangerNode::getFrequency() {
    return internals_->getFrequency();
}

void FlangerNode::setFrequency(float frequency) {
    internals_->setFrequency(frequency);
}

bool FlangerNode::setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) {
    return ModulatedDelayLine::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool FlangerNode::process(AudioBus& inBus, AudioBus& outBus) {
    return internals_->process(inBus, outBus, internals_->wetGain, internals_->feedback);
}

NodeTypeInfo FlangerNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Flanger", "Flanger",
                                  "Applies a flanger effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
