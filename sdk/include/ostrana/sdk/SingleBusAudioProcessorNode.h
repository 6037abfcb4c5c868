#pragma once

#include <atomic>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioNode.h>
#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// A node with one input bus and one output bus. The list-level operations check the lists
// and forward to the single-bus forms, which each node implements.
//
// The list-level process refuses (returns false without calling the node) when the lists do
// not hold exactly one bus each, when no format has been accepted, when the input carries
// more channels than the accepted format, or when the output bus cannot hold the input's
// channels and frames. So a node never sees a block it did not agree to.
class OSTRANA_SDK_EXPORT SingleBusAudioProcessorNode : public AudioNode {
  public:
    SingleBusAudioProcessorNode();
    ~SingleBusAudioProcessorNode() override;

    bool setBusFormats(AudioBusFormatList& inputBusFormats,
                       AudioBusFormatList& outputBusFormats) override;
    bool process(AudioBusList& inBuses, AudioBusList& outBuses) override;

    virtual bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) = 0;
    virtual bool process(AudioBus& inBus, AudioBus& outBus) = 0;

    // The input channel count of the last accepted format; 0 when none is accepted.
    unsigned int getAcceptedChannels() const { return acceptedChannels_.load(); }
    bool hasAcceptedFormat() const { return formatAccepted_.load(); }

    // Whether a block of in and out fits within channelLimit channels and the output's room.
    static bool busesFit(const AudioBus& inBus, const AudioBus& outBus, unsigned int channelLimit);

  private:
    std::atomic<bool> formatAccepted_{false};
    std::atomic<unsigned int> acceptedChannels_{0};
};

}  // namespace ostrana
