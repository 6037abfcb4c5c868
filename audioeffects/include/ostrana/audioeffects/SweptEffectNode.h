#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

// The state and per-block work of one swept effect, inside the library.
class SweptEffectProcessor;

// A swept-delay effect: the input's delayed copy, its delay swung by a slow sine. The chorus,
// flanger and vibrato are this node with their own recipe; each effect's parameter ranges and
// defaults are in its catalogue entry (EffectCatalogue::find("chorus") ...). Setters may run on
// any thread while the node processes (one atomic exchange each); they store any value as
// given.
//
// Beside the accessors below, the catalogue entry reads and writes these, each taken at the
// start of a block, their defaults giving the effects' sound unchanged:
//   - level: gain of the output, -60 to 12 dB, default 0 dB (no gain applied).
//   - mix: 0 gives the dry input exactly, 1 the effect alone, between a crossfade of the two;
//     default 1.
//   - stereoPhase: how far the second channel's sweep runs ahead of the first's, 0 to 180
//     degrees. Chorus and flanger default to 90 (a quarter cycle, each channel its own
//     oscillator); the vibrato to 0 (one oscillator for both channels; any other value gives
//     the second channel an oscillator of its own).
//   - feedback (chorus and flanger): share of the delayed signal written back into the line,
//     -0.95 to 0.95, negative values inverting it. The flanger defaults to 0.6, the chorus to
//     0 (its line then takes the input alone).
class OSTRANA_AUDIOEFFECTS_EXPORT SweptEffectNode : public SingleBusAudioProcessorNode {
  public:
    ~SweptEffectNode() override;
    SweptEffectNode(const SweptEffectNode&) = delete;
    SweptEffectNode& operator=(const SweptEffectNode&) = delete;

    // Switch: off passes the input through unchanged. Default on.
    bool getIsEnabled() const;
    void setIsEnabled(bool isEnabled);
    // Depth of the swing, in seconds: chorus 0 to 0.05 (default 0.025), flanger 0 to 0.01
    // (default 0.005), vibrato 0 to 0.02 (default 0.01).
    float getSweepWidth() const;
    void setSweepWidth(float sweepWidth);
    // Rate of the swing, in hertz: chorus 0.01 to 5 (default 0.2), flanger 0.01 to 5 (default
    // 0.4), vibrato 0.1 to 14 (default 4). Setting it while the node processes, the
    // oscillators take the value at the start of each block.
    float getFrequency() const;
    void setFrequency(float frequency);

    // Accepts matching formats of 1 or 2 channels (and 0).
    bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) override;
    using SingleBusAudioProcessorNode::process;
    bool process(AudioBus& inBus, AudioBus& outBus) override;

  protected:
    explicit SweptEffectNode(std::unique_ptr<SweptEffectProcessor> processor);

  private:
    friend struct NodeInternals;
    std::unique_ptr<SweptEffectProcessor> internals_;
};

}  // namespace ostrana::extensions::audioeffects
