#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

// Adds to the dry signal a copy of it delayed by 1002 samples plus a swing of up to
// sweepWidth seconds, swept by a slow sine. One delay line and one oscillator per channel,
// the channels' oscillators a quarter cycle apart.
class OSTRANA_AUDIOEFFECTS_EXPORT ChorusNode : public SingleBusAudioProcessorNode {
  public:
    // Builds lines and oscillators for up to numberOfChannels channels.
    explicit ChorusNode(unsigned int numberOfChannels);
    ~ChorusNode() override;

    ChorusNode(const ChorusNode&) = delete;
    ChorusNode& operator=(const ChorusNode&) = delete;

    bool getIsEnabled();
    void setIsEnabled(bool isEnabled);
    // Depth of the swing in seconds; any value is stored as given.
    float getSweepWidth();
    void setSweepWidth(float sweepWidth);
    // The first channel's oscillator frequency (0.2 Hz, its starting value, when there are no
    // channels); the setter sets every oscillator.
    float getFrequency();
    void setFrequency(float frequency);

    // Accepts matching formats of 1 or 2 channels (and 0).
    bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) override;
    using SingleBusAudioProcessorNode::process;
    bool process(AudioBus& inBus, AudioBus& outBus) override;

    static NodeTypeInfo getNodeTypeInfo();

  private:
    struct Internals;
    std::unique_ptr<Internals> internals_;
};

}  // namespace ostrana::extensions::audioeffects
