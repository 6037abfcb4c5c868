#include <ostrana/audioeffects/VibratoNode.h>

#include "descriptors/EffectNodeTypeInfo.h"
#include "nodes/ModulatedDelayLine.h"
#include "nodes/ModulatedEffectState.h"

namespace ostrana::extensions::audioeffects {

// No gains of its own: the output is the delayed signal alone and nothing is fed back.
struct VibratoNode::Internals : ModulatedEffectState<kVibratoEffect> {
    using ModulatedEffectState::ModulatedEffectState;
};

VibratoNode::VibratoNode(unsigned int numberOfChannels)
    : internals_(std::make_unique<Internals>(numberOfChannels)) {}

VibratoNode::~VibratoNode() = default;

bool VibratoNode::getIsEnabled() {
    return internals_->getIsEnabled();
}

void VibratoNode::setIsEnabled(bool isEnabled) {
    internals_->setIsEnabled(isEnabled);
}

float VibratoNode::getSweepWidth() {
    return internals_->getSweepWidth();
}

void VibratoNode::setSweepWidth(float sweepWidth) {
    internals_->setSweepWidth(sweepWidth);
}

float VibratoNode::getFrequency() {
    return internals_->getFrequency();
}

void VibratoNode::setFrequency(float frequency) {
    internals_->setFrequency(frequency);
}

bool VibratoNode::setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) {
    return ModulatedDelayLine::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool VibratoNode::process(AudioBus& inBus, AudioBus& outBus) {
    return internals_->process(inBus, outBus, 0.0f, 0.0f);
}

NodeTypeInfo VibratoNode::getNodeTypeInfo() {
    return makeEffectNodeTypeInfo("Vibrato", "Vibrato",
                                  "Applies a vibrato effect to the input audio signal.");
}

}  // namespace ostrana::extensions::audioeffects
