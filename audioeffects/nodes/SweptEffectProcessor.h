#pragma once

#include <memory>
#include <span>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>
#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/AudioBus.h>

#include "nodes/SweepRecipe.h"
#include "nodes/SweptDelayRenderer.h"
#include "nodes/SweptNodeRules.h"
#include "nodes/SweptParameters.h"

namespace ostrana::extensions::audioeffects {

// What a swept-delay node holds and does, whatever its recipe: its parameters (started from its
// table's defaults), the channel capacity, its oscillators (one per channel, each a quarter
// cycle after the one before, or one shared by every channel) with the steps each has computed
// ahead, one line per channel, and the rate and channel count of the previous block. The
// block's work is the recipe's (SweptEffectProcessorFor).
class SweptEffectProcessor : public SweptParameters {
  public:
    SweptEffectProcessor(unsigned int channels, bool oscillatorPerChannel,
                         std::span<const SweptSlot> slots);
    virtual ~SweptEffectProcessor() = default;

    // One block; always true (a block that does not fit passes through unchanged).
    virtual bool process(AudioBus& inBus, AudioBus& outBus) = 0;

  protected:
    // Whether the block fits the lines and the effect is on. If so, the output takes the input's
    // format (the render writes its samples), the lines are cleared on a change of format and
    // the oscillators take the frequency; if not (false: nothing more to do), the input is
    // copied to the output.
    bool prepareBlock(AudioBus& inBus, AudioBus& outBus);

    unsigned int numberOfChannels_;
    std::vector<audio::LFO> oscillators_;
    std::vector<audio::LFOLookAhead> lookAheads_;  // one per oscillator
    std::vector<audio::CircularBuffer> lines_;
    unsigned int lastSampleRate_ = 0;
    unsigned int lastNumberOfChannels_ = 0;

  private:
    // Hands the frequency parameter to every oscillator that does not hold it yet.
    void passFrequencyOn();
};

// The processor of one recipe: its block rendered with the recipe's constants compiled in.
template <SweepRecipe kRecipe>
class SweptEffectProcessorFor final : public SweptEffectProcessor {
  public:
    SweptEffectProcessorFor(unsigned int channels, std::span<const SweptSlot> slots)
        : SweptEffectProcessor(channels, kRecipe.oscillatorPerChannel, slots) {}

    bool process(AudioBus& inBus, AudioBus& outBus) override {
        if (!prepareBlock(inBus, outBus)) return true;
        const AudioBuffer<float>& input = inBus.buffer;
        const unsigned int frames = input.getNumberOfFrames();
        if (frames == 0) return true;
        if (input.getNumberOfChannels() == 0) {
            if constexpr (!kRecipe.oscillatorPerChannel) {
                // The shared oscillator keeps running through blocks that carry no channels.
                const int rate = static_cast<int>(input.getSampleRate());
                oscillators_.front().settle(lookAheads_.front());
                for (unsigned int f = 0; f < frames; ++f) oscillators_.front().process(rate);
            }
            return true;
        }
        SweptDelayRenderer::render<kRecipe>(
            input, outBus.buffer, oscillators_.data(), lookAheads_.data(), lines_.data(),
            sweepWidth, kRecipe.wetGain, kRecipe.feedsBack ? kRecipe.feedback : 0.0f);
        return true;
    }

    // A new processor of this recipe for a node of numberOfChannels channels, starting from
    // the defaults of slots.
    static std::unique_ptr<SweptEffectProcessor> make(unsigned int numberOfChannels,
                                                      std::span<const SweptSlot> slots) {
        return std::make_unique<SweptEffectProcessorFor>(numberOfChannels, slots);
    }
};

}  // namespace ostrana::extensions::audioeffects
