#include <utility>

#include <ostrana/audioeffects/SweptEffectNode.h>

#include "nodes/SweptEffectProcessor.h"
#include "nodes/SweptNodeRules.h"

namespace ostrana::extensions::audioeffects {

SweptEffectNode::SweptEffectNode(std::unique_ptr<Processor> processor)
    : processor_(std::move(processor)) {}

SweptEffectNode::~SweptEffectNode() = default;

bool SweptEffectNode::getIsEnabled() const {
    return processor_->getIsEnabled();
}

void SweptEffectNode::setIsEnabled(bool isEnabled) {
    processor_->setIsEnabled(isEnabled);
}

float SweptEffectNode::getSweepWidth() const {
    return processor_->getSweepWidth();
}

void SweptEffectNode::setSweepWidth(float sweepWidth) {
    processor_->setSweepWidth(sweepWidth);
}

float SweptEffectNode::getFrequency() const {
    return processor_->getFrequency();
}

void SweptEffectNode::setFrequency(float frequency) {
    processor_->setFrequency(frequency);
}

bool SweptEffectNode::setBusFormat(AudioBusFormat& inputBusFormat,
                                   AudioBusFormat& outputBusFormat) {
    return SweptNodeRules::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool SweptEffectNode::process(AudioBus& inBus, AudioBus& outBus) {
    return processor_->process(inBus, outBus);
}

}  // namespace ostrana::extensions::audioeffects
