#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

// A feedback echo applied to each channel on its own: every channel has a 48000-sample delay
// line, the output mixes the input (dry) with the delayed signal (wet), and a share of the
// delayed signal is written back into the line.
//
// The parameters may be set from any thread while the audio thread processes. The delay
// time and the on/off switch are read once per block; the three gains once per sample.
class OSTRANA_AUDIOEFFECTS_EXPORT DelayNode : public SingleBusAudioProcessorNode {
  public:
    // A node with one delay line per channel, for up to numberOfChannels channels.
    explicit DelayNode(unsigned int numberOfChannels);
    ~DelayNode() override;

    using SingleBusAudioProcessorNode::process;

    bool getIsEnabled();
    void setIsEnabled(bool isEnabled);
    float getDryMix();
    void setDryMix(float dryMix);
    float getWetMix();
    void setWetMix(float wetMix);
    unsigned int getDelayMs();
    void setDelayMs(unsigned int delayMs);
    float getFeedbackLevel();
    void setFeedbackLevel(float feedbackLevel);

    // Accepts a format that matches and carries at most this node's channel count.
    bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) override;
    // Copies the input to the output, then, when enabled with a non-zero delay, replaces the
    // output with the echo mix. Always returns true.
    bool process(AudioBus& inBus, AudioBus& outBus) override;

    // A new descriptor of this node type: identity and categories, no properties.
    static NodeTypeInfo getNodeTypeInfo();

  private:
    struct Internals;
    std::unique_ptr<Internals> internals_;
};

}  // namespace ostrana::extensions::audioeffects
