#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

// The chorus's swept delay line with a short delay (2 samples plus a swing of up to
// sweepWidth seconds) and a fixed feedback of 0.6 of the delayed signal into the line: the
// comb-filter sweep of a flanger. One line and one oscillator per channel, the channels'
// oscillators a quarter cycle apart.
class OSTRANA_AUDIOEFFECTS_EXPORT FlangerNode : public SingleBusAudioProcessorNode {
  public:
    // Builds lines and oscillators for up to numberOfChannels channels.
    explicit FlangerNode(unsigned int numberOfChannels);
    ~FlangerNode() override;

    FlangerNode(const FlangerNode&) = delete;
    FlangerNode& operator=(const FlangerNode&) = delete;

    bool getIsEnabled();
    void setIsEnabled(bool isEnabled);
    // Depth of the swing in seconds; any value is stored as given.
    float getSweepWidth();
    void setSweepWidth(float sweepWidth);
    // The first channel's oscillator frequency (0.4 Hz, its starting value, when there are no
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
