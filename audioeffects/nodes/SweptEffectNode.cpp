#include <utility>

#include <ostrana/audioeffects/SweptEffectNode.h>

#include "nodes/SweptEffectProcessor.h"
#include "nodes/SweptNodeRules.h"

namespace ostrana::extensions::audioeffects {

SweptEffectNode::SweptEffectNode(std::unique_ptr<SweptEffectProcessor> processor)
    : internals_(std::move(processor)) {}

SweptEffectNode::~SweptEffectNode() = default;

bool SweptEffectNode::getIsEnabled() const {
    return internals_->isEnabled.load();
}

void SweptEffectNode::setIsEnabled(bool isEnabled) {
    internals_->isEnabled.exchange(isEnabled);
}

float SweptEffectNode::getSweepWidth() const {
    return internals_->sweepWidth.load();
}

void SweptEffectNode::setSweepWidth(float sweepWidth) {
    internals_->sweepWidth.exchange(sweepWidth);
}

float SweptEffectNode::getFrequency() const {
    return internals_->frequency.load();
}

void SweptEffectNode::setFrequency(float frequency) {
    internals_->frequency.exchange(frequency);
}

bool SweptEffectNode::setBusFormat(AudioBusFormat& inputBusFormat,
                                   AudioBusFormat& outputBusFormat) {
    return SweptNodeRules::acceptsBusFormat(inputBusFormat, outputBusFormat);
}

bool SweptEffectNode::process(AudioBus& inBus, AudioBus& outBus) {
    return internals_->process(inBus, outBus);
}

}  // namespace ostrana::extensions::audioeffects
