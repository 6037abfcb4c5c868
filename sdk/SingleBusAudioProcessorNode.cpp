#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana {

SingleBusAudioProcessorNode::SingleBusAudioProcessorNode() : AudioNode(1, 1) {}

SingleBusAudioProcessorNode::~SingleBusAudioProcessorNode() = default;

bool SingleBusAudioProcessorNode::setBusFormats(AudioBusFormatList& inputBusFormats,
                                                AudioBusFormatList& outputBusFormats) {
    formatAccepted_.store(false);
    acceptedChannels_.store(0);
    if (inputBusFormats.size() != 1 || outputBusFormats.size() != 1) return false;
    if (!setBusFormat(inputBusFormats[0], outputBusFormats[0])) return false;
    acceptedChannels_.store(inputBusFormats[0].numberOfChannels);
    formatAccepted_.store(true);
    return true;
}

bool SingleBusAudioProcessorNode::busesFit(const AudioBus& inBus, const AudioBus& outBus,
                                           unsigned int channelLimit) {
    const unsigned int channels = inBus.buffer.getNumberOfChannels();
    return channels <= channelLimit && outBus.buffer.getNumberOfChannels() >= channels &&
           outBus.buffer.getFrameCapacity() >= inBus.buffer.getNumberOfFrames();
}

bool SingleBusAudioProcessorNode::process(AudioBusList& inBuses, AudioBusList& outBuses) {
    if (inBuses.size() != 1 || outBuses.size() != 1) return false;
    if (inBuses[0] == nullptr || outBuses[0] == nullptr || !formatAccepted_.load()) return false;
    if (!busesFit(*inBuses[0], *outBuses[0], acceptedChannels_.load())) return false;
    return process(*inBuses[0], *outBuses[0]);
}

}  // namespace ostrana
