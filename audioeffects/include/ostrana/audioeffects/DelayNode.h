#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::extensions::audioeffects {

// A feedback echo applied to each channel on its own: every channel has its own delay line,
// the output mixes the input (dry) with the delayed signal (wet), and a share of the delayed
// signal is written back into the line.
//
// Line length. A line holds 48000 samples at 48 kHz and below (one second at 48 kHz), as it
// always has. Above 48 kHz it holds one second at the rate (96000 samples at 96 kHz, at most
// 384000 at 384 kHz and beyond), so that 1000 ms is 1000 ms at every rate. The lines take that
// length when setBusFormat accepts a format that names its rate, never while processing: a
// node keeps only the memory its rate needs (192 KB a channel up to 48 kHz, 1.5 MB at 384 kHz),
// which matters to hosts that run many instances. Call setBusFormat while no block is being
// processed, as hosts negotiate formats before processing. A block at a rate no format named
// works with the lines the node has, its delay held at their length.
//
// The parameters may be set from any thread while the audio thread processes. The delay
// time and the on/off switch are read once per block; the three gains once per sample.
//
// Two more parameters live in the effect catalogue (EffectCatalogue::find("delay")), read once
// per block, and change nothing at their defaults:
// - level, -60 to +12 dB, default 0: a gain of 10^(level / 20), rounded once to float, on
//   every output sample (one multiply); at 0 dB the output is not touched. A level outside the
//   range is held to it. Switched off, the node passes its input through at any level.
// - glide, 0 to 500 ms, default 0: the time a new delay takes to arrive. At 0 the read pointers
//   jump to the new delay at the start of the block, as they always have. Above 0 the read
//   position moves from where it is to the new delay in a straight line over the glide time,
//   reading between the two samples around it (linear interpolation), and lands exactly on
//   the new whole delay; a new delay time during a glide starts a new line from where the read
//   position has got to, so automation in steps becomes a continuous movement. A new sample
//   rate or channel count still jumps. At a steady delay, a glide changes no sample.
//   A moving read was chosen over crossfading two reads, for echoes under automation. Measured
//   on one echo line (dry 0.7, wet 0.3, feedback 0.2, 48 kHz, a 440 Hz sine at 0.5, 50 ms):
//   on a ramp of 200 to 400 ms in 1 ms steps per 256 frames both give no step above the
//   steady 0.031, but the crossfade dips the level (10 ms peaks down to 0.20 against 0.39 for
//   the moving read), since the two reads it mixes are out of phase and each new step starts a
//   new fade; the moving read keeps one echo train whose pitch bends while the time moves, as on
//   a tape echo. The crossfade is cleaner for one large jump (200 to 700 ms: steps stay 0.031,
//   where the moving read sweeps fast and steps up to 0.114); a long glide softens that sweep.
class OSTRANA_AUDIOEFFECTS_EXPORT DelayNode : public SingleBusAudioProcessorNode {
  public:
    // A node with one delay line per channel, for up to numberOfChannels channels.
    explicit DelayNode(unsigned int numberOfChannels);
    ~DelayNode() override;

    using SingleBusAudioProcessorNode::process;

    // The parameters, with the range each is meant for and the default a new node starts
    // from. Setters store any value as given, in one atomic exchange.
    // Switch: off passes the input through unchanged. Default on.
    bool getIsEnabled() const;
    void setIsEnabled(bool isEnabled);
    // Level of the dry (input) signal in the output, 0 to 1. Default 0.7.
    float getDryMix() const;
    void setDryMix(float dryMix);
    // Level of the wet (delayed) signal in the output, 0 to 1. Default 0.3.
    float getWetMix() const;
    void setWetMix(float wetMix);
    // Delay time in milliseconds, 1 to 1000. Default 200. 0 passes the input through; a delay
    // longer than the line (see Line length above) is held at the line's length.
    unsigned int getDelayMs() const;
    void setDelayMs(unsigned int delayMs);
    // Share of the delayed signal fed back into the line, 0 to 0.99 (each echo quieter than
    // the one before). Default 0.2.
    float getFeedbackLevel() const;
    void setFeedbackLevel(float feedbackLevel);

    // Accepts a format that matches and carries at most this node's channel count. A format
    // that names its rate gives the lines the length for that rate (see Line length above):
    // they keep what they hold where it fits.
    bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) override;
    // Copies the input to the output, then, when enabled with a non-zero delay, replaces the
    // output with the echo mix. Always returns true.
    bool process(AudioBus& inBus, AudioBus& outBus) override;

    // A new descriptor of this node type: identity and categories, no properties.
    static NodeTypeInfo getNodeTypeInfo();

  private:
    friend struct NodeInternals;
    struct Internals;
    std::unique_ptr<Internals> internals_;
};

}  // namespace ostrana::extensions::audioeffects
