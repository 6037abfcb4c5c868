#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

// Bends the pitch by playing the input back through a delay line whose length (1 sample plus a
// swing of up to sweepWidth seconds) a 4 Hz sine sweeps. The output is the delayed signal
// alone. One oscillator, stepped once per frame, modulates every channel's line in step.
class OSTRANA_AUDIOEFFECTS_EXPORT VibratoNode : public SingleBusAudioProcessorNode {
  public:
    // Builds lines for up to numberOfChannels channels, and the one oscillator.
    explicit VibratoNode(unsigned int numberOfChannels);
    ~VibratoNode() override;

    VibratoNode(const VibratoNode&) = delete;
    VibratoNode& operator=(const VibratoNode&) = delete;

    bool getIsEnabled();
    void setIsEnabled(bool isEnabled);
    // Depth of the swing in seconds; any value is stored as given.
    float getSweepWidth();
    void setSweepWidth(float sweepWidth);
    // The oscillator's frequency in Hz; any value is stored as given.
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
