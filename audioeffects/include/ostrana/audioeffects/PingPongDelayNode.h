#pragma once

#include <memory>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::extensions::audioeffects {

// A stereo feedback delay whose two rings feed each other: the left ring takes the left input
// plus the right ring's delayed signal, the right ring the right input plus what the left ring
// holds in the same frame. The delay is the length of the rings.
//
// Ring room. The rings hold up to 48000 samples at 48 kHz and below (one second at 48 kHz), as
// they always have. Above 48 kHz they hold one second at the rate (at most 384000 samples, at
// 384 kHz and beyond), so that 1000 ms is 1000 ms at every rate. They grow when setBusFormat
// accepts a format that names a higher rate, keeping what they hold, never while processing,
// and never shrink; a node keeps only the memory its highest rate needs (192 KB a ring up to
// 48 kHz, 1.5 MB at 384 kHz), which matters to hosts that run many instances. Call
// setBusFormat while no block is being processed, as hosts negotiate formats before
// processing. A block at a rate no format named works with the rings the node has, its delay
// held at their length.
//
// Its five parameters are host properties ("enabled", "delayMs", "dryMix", "wetMix",
// "feedbackLevel") as well as accessors; they may be set from any thread while the audio
// thread processes, and process reads them once per block.
//
// Three more parameters live in the effect catalogue only (EffectCatalogue::find(
// "ping-pong-delay")), read once per block, and change nothing at their defaults:
// - level, -60 to +12 dB, default 0: an output gain, as on the delay (DelayNode.h).
// - glide, 0 to 500 ms, default 0: the time a new delay takes to arrive, by a moving
//   interpolated read, as on the delay (DelayNode.h). While a glide is set, blocks of one or
//   two channels run the rings laid out as lines of the full room, with the read following
//   the write; switching the glide on or off rearranges what the rings hold so that every echo
//   stays where it was (a single pass over the rings in that block). A new rate still jumps.
// - bounce, default off (the cross-feed above). On, the echoes alternate sides: the input is
//   summed to one side first, L + R, unscaled, into the right ring; the right ring's echo comes
//   out on the right and goes, times feedbackLevel, into the left ring; the left ring's echo
//   comes out on the left and goes, times feedbackLevel, back into the right ring. A click of
//   1 on the left (or on the right) gives wetMix on the right after one delay, then
//   feedbackLevel * wetMix on the left after two, then feedbackLevel^2 * wetMix on the right
//   after three, and so on; a centred click of 0.5 on both sides bounces as a click of 1.
//   A block of more than two channels (no format carries one) is always cross-fed.
class OSTRANA_AUDIOEFFECTS_EXPORT PingPongDelayNode : public SingleBusAudioProcessorNode {
  public:
    // The configuration is not read.
    explicit PingPongDelayNode(const XVAnyMap& configuration);
    ~PingPongDelayNode() override;

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
    // longer than the rings hold (see Ring room above) is held at that length.
    unsigned int getDelayMs() const;
    void setDelayMs(unsigned int delayMs);
    // Share of the delayed signal fed back into the rings, 0 to 0.99 (each echo quieter than
    // the one before). Default 0.2.
    float getFeedbackLevel() const;
    void setFeedbackLevel(float feedbackLevel);

    // Accepts a format that matches and carries exactly two channels. A format that names a
    // rate above 48 kHz makes room in the rings for one second at that rate.
    bool setBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat) override;
    // Copies the input to the output, then, when enabled with a non-zero delay, replaces the
    // output with the ping-pong echo mix. Always returns true.
    bool process(AudioBus& inBus, AudioBus& outBus) override;

    // A new descriptor of this node type, with the schemas of its five properties.
    static NodeTypeInfo getNodeTypeInfo();

  private:
    friend struct NodeInternals;
    struct Internals;
    std::unique_ptr<Internals> internals_;
};

}  // namespace ostrana::extensions::audioeffects
