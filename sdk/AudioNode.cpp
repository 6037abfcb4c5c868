#include <ostrana/sdk/AudioNode.h>

namespace ostrana {

AudioNode::AudioNode(unsigned int numberOfInputs, unsigned int numberOfOutputs)
    : Node("node"), numberOfInputs_(numberOfInputs), numberOfOutputs_(numberOfOutputs) {}

AudioNode::~AudioNode() = default;

std::string AudioNode::getDisplayName() const {
    return "Audio Node";
}

void AudioNode::onGraphStart() {}

void AudioNode::onGraphStop() {}

}  // namespace ostrana
