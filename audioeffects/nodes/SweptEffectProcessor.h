#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>
#include <ostrana/audioeffects/SweptEffectNode.h>
#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/AudioBus.h>

#include "nodes/SweepRecipe.h"
#include "nodes/SweptDelayRenderer.h"
#include "nodes/SweptNodeRules.h"

namespace ostrana::extensions::audioeffects {

// What a swept-delay node holds and does, whatever its recipe: the channel capacity, its
// oscillators (one per channel, each a quarter cycle after the one before, or one shared by
// every channel) with the steps each has computed ahead, one line per channel, the rate and channel
// count of the previous block, and the enable flag and sweep width that control threads exchange
// while the audio thread reads them. The block's work is the recipe's (SweptEffectProcessorFor).
class SweptEffectNode::Processor {
  public:
    Processor(unsigned int channels, const SweepRecipe& recipe);
    virtual ~Processor() = default;

    // One block; always true (a block that does not fit passes through unchanged).
    virtual bool process(AudioBus& inBus, AudioBus& outBus) = 0;

    bool getIsEnabled() const { return isEnabled_.load(std::memory_order_relaxed); }
    void setIsEnabled(bool enabled) { isEnabled_.exchange(enabled); }
    float getSweepWidth() const { return sweepWidth_.load(std::memory_order_relaxed); }
    void setSweepWidth(float width) { sweepWidth_.exchange(width); }
    float getFrequency() const;
    void setFrequency(float frequency);

  protected:
    // Whether the block fits the lines and the effect is on. If so, the output takes the input's
    // format (the render writes its samples) and the lines are cleared on a change of format;
    // if not (false: nothing more to do), the input is copied to the output.
    bool prepareBlock(AudioBus& inBus, AudioBus& outBus);

    unsigned int numberOfChannels_;
    float defaultFrequency_;
    std::vector<audio::LFO> oscillators_;
    std::vector<audio::LFOLookAhead> lookAheads_;  // one per oscillator
    std::vector<audio::CircularBuffer> lines_;
    unsigned int lastSampleRate_ = 0;
    unsigned int lastNumberOfChannels_ = 0;
    std::atomic<bool> isEnabled_;
    std::atomic<float> sweepWidth_;

    static_assert(std::atomic<bool>::is_always_lock_free);
    static_assert(std::atomic<float>::is_always_lock_free);
};

// The processor of one recipe: its block rendered with the recipe's constants compiled in.
template <SweepRecipe kRecipe>
class SweptEffectProcessorFor final : public SweptEffectNode::Processor {
  public:
    explicit SweptEffectProcessorFor(unsigned int channels) : Processor(channels, kRecipe) {}

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
            sweepWidth_, kRecipe.wetGain, kRecipe.feedsBack ? kRecipe.feedback : 0.0f);
        return true;
    }

    // A new processor of this recipe for a node of numberOfChannels channels.
    static std::unique_ptr<SweptEffectNode::Processor> make(unsigned int numberOfChannels) {
        return std::make_unique<SweptEffectProcessorFor>(numberOfChannels);
    }
};

}  // namespace ostrana::extensions::audioeffects
