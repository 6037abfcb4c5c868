#pragma once

#include <memory>
#include <span>
#include <vector>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>
#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/AudioBus.h>

#include "nodes/OutputLevel.h"
#include "nodes/SweepRecipe.h"
#include "nodes/SweptDelayRenderer.h"
#include "nodes/SweptNodeRules.h"
#include "nodes/SweptParameters.h"

namespace ostrana::extensions::audioeffects {

// What a swept-delay node holds and does, whatever its recipe: its parameters (started from its
// table's defaults), the channel capacity, its oscillators (one per channel, each stereoPhase
// degrees ahead of the one before; an effect that shares one oscillator among its channels uses
// the others only while stereoPhase is not 0) with the steps each has computed ahead, one line
// per channel, the rate and channel count of the previous block, and what the output's mix and
// level and the sweep width's glide need. The block's work is the recipe's
// (SweptEffectProcessorFor).
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
    // the oscillators take the frequency (and, one per channel, the stereo phase); if not
    // (false: nothing more to do), the input is copied to the output.
    bool prepareBlock(AudioBus& inBus, AudioBus& outBus);

    // For an effect that shares one oscillator: whether a block of this many channels runs an
    // oscillator per channel, because stereoPhase is not 0. If so, the other channels'
    // oscillators are brought in step with the shared one (each its phase offset ahead) where
    // they are not yet.
    bool spreadsOscillators(unsigned int channels) {
        if (stereoPhase.load(std::memory_order_relaxed) == 0.0f || channels < 2) {
            sharesOscillator();
            return false;
        }
        return spreadOscillators(channels);
    }
    // A block rendered on the shared oscillator alone: the others fall out of step.
    void sharesOscillator() { oscillatorsInStep_ = 1; }

    // render(input, output, width) writes the effect's output with the sweep width loaded from
    // width; this then crossfades it with the dry input by mix and applies level. Where the mix
    // is 1 and the width does not glide the block is rendered whole; otherwise in chunks whose
    // dry input is kept aside first, since the output may be the input's memory. At mix 1,
    // level 0 dB and glide 0 nothing is added to the render.
    template <typename Render>
    void renderFinished(const AudioBuffer<float>& input, AudioBuffer<float>& output,
                        Render render) {
        const float wetShare = mix.load(std::memory_order_relaxed);
        const unsigned int channels = input.getNumberOfChannels();
        const unsigned int frames = input.getNumberOfFrames();
        const std::atomic<float>& width = widthForBlock(static_cast<float>(input.getSampleRate()));
        if (wetShare == 1.0f && !widthMoving_) {
            render(input, output, width);
        } else {
            // While the width glides, chunks short enough that each of its steps is small.
            const unsigned int chunk = widthMoving_ ? kGlideChunk : kMixChunk;
            for (unsigned int start = 0; start < frames; start += chunk) {
                const unsigned int count = frames - start < chunk ? frames - start : chunk;
                ChunkViews& views = chunkViews_[channels - 1];
                keepDry(input, output, views, start, count);
                if (widthMoving_) glideWidth(count);
                render(views.dry, views.output, width);
                if (wetShare != 1.0f) crossfade(views, wetShare);
            }
        }
        applyLevel(output, channels, frames);
    }

    // The output level applied to frames frames of the output's first channels: nothing at 0 dB.
    void applyLevel(AudioBuffer<float>& output, unsigned int channels, unsigned int frames) {
        applyOutputGain(output, channels, frames,
                        outputGain_.forLevel(level.load(std::memory_order_relaxed)));
    }

    // Whether the sweep width is the parameter itself, untouched by any glide: glide 0 and no
    // gliding width still in use.
    bool widthHeldStill() const {
        return glide.load(std::memory_order_relaxed) == 0.0f && !widthTracked_;
    }

    unsigned int numberOfChannels_;
    bool oscillatorPerChannel_;
    std::vector<audio::LFO> oscillators_;
    std::vector<AlignedLookAhead> lookAheads_;  // one per oscillator
    std::vector<audio::CircularBuffer> lines_;
    unsigned int lastSampleRate_ = 0;
    unsigned int lastNumberOfChannels_ = 0;

  private:
    // Frames of a chunk whose dry input is kept aside while the mix is not 1.
    static constexpr unsigned int kMixChunk = 256;
    // Frames of a chunk while the sweep width glides: its steps 8 frames apart are too small to
    // click where the width moves as fast as automation moves it.
    static constexpr unsigned int kGlideChunk = 8;

    // A chunk of n channels: its dry input (in dry_) and the part of the block's output it
    // renders into.
    struct ChunkViews {
        AudioBuffer<float> dry;
        AudioBuffer<float> output;
    };

    // Hands the frequency parameter to every oscillator that does not hold it yet.
    void passFrequencyOn();
    // Gives the oscillators after the first their channels' phase offsets when stereoPhase has
    // changed (the first is never offset).
    void passStereoPhaseOn();
    void offsetFollowers(float degrees);
    // Copies count frames of input from start into the dry store and points views at them and
    // at the same frames of output.
    void keepDry(const AudioBuffer<float>& input, AudioBuffer<float>& output, ChunkViews& views,
                 unsigned int start, unsigned int count);
    // The chunk's output crossfaded from its dry input: the dry input itself at 0.
    static void crossfade(ChunkViews& views, float wetShare);
    // The atomic the block's render loads the sweep width from: the parameter itself while
    // glide is 0; else the gliding width, set moving (widthMoving_) toward the parameter over
    // the glide time when the parameter has changed.
    const std::atomic<float>& widthForBlock(float sampleRate) {
        if (widthHeldStill()) return sweepWidth;
        return glidingWidthForBlock(sampleRate);
    }
    // widthForBlock past its quick answer.
    const std::atomic<float>& glidingWidthForBlock(float sampleRate);
    // The gliding width count frames further on, arriving exactly at its target.
    void glideWidth(unsigned int count);
    // spreadsOscillators past its quick refusals.
    bool spreadOscillators(unsigned int channels);

    std::vector<float> dry_;                 // kMixChunk frames per channel
    std::vector<ChunkViews> chunkViews_;     // for 1 to numberOfChannels_ channels
    float appliedStereoPhase_ = 0.0f;        // what the oscillators' offsets were made from
    unsigned int oscillatorsInStep_ = 1;     // leading oscillators stepped as one with the first
    std::atomic<float> glidingWidth_{0.0f};  // the width the render loads while gliding
    bool widthTracked_ = false;              // glidingWidth_ holds the width in use
    bool widthMoving_ = false;               // the block's width glides
    float widthTarget_ = 0.0f;
    float widthPerFrame_ = 0.0f;
    OutputGain outputGain_;
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
        const unsigned int channels = input.getNumberOfChannels();
        if (channels == 0) {
            if constexpr (!kRecipe.oscillatorPerChannel) {
                // The shared oscillator keeps running through blocks that carry no channels.
                const int rate = static_cast<int>(input.getSampleRate());
                sharesOscillator();
                oscillators_.front().settle(lookAheads_.front());
                for (unsigned int f = 0; f < frames; ++f) oscillators_.front().process(rate);
            }
            return true;
        }
        const float feedbackShare =
            kRecipe.offersFeedback ? feedback.load(std::memory_order_relaxed) : 0.0f;
        bool spread = false;
        if constexpr (!kRecipe.oscillatorPerChannel) {
            spread = spreadsOscillators(channels);
        }
        if (!spread && rendersPlainly()) {
            renderChosen(input, outBus.buffer, sweepWidth, feedbackShare, false);
            applyLevel(outBus.buffer, channels, input.getNumberOfFrames());
        } else {
            renderWithControls(input, outBus.buffer, feedbackShare, spread);
        }
        return true;
    }

    // A new processor of this recipe for a node of numberOfChannels channels, starting from
    // the defaults of slots.
    static std::unique_ptr<SweptEffectProcessor> make(unsigned int numberOfChannels,
                                                      std::span<const SweptSlot> slots) {
        return std::make_unique<SweptEffectProcessorFor>(numberOfChannels, slots);
    }

  private:
    // Whether a block whose oscillator is not spread renders as the effect always has, the one
    // path worth keeping short: a mix of 1 and a sweep width that does not glide.
    bool rendersPlainly() const {
        return widthHeldStill() && mix.load(std::memory_order_relaxed) == 1.0f;
    }

    // The block where a control beyond the sweep's own is in use: out of line, so that the
    // plain path stays as compact as it was before the controls.
    [[gnu::noinline]] void renderWithControls(const AudioBuffer<float>& input,
                                              AudioBuffer<float>& output, float feedbackShare,
                                              bool spread) {
        renderFinished(input, output,
                       [&](const AudioBuffer<float>& from, AudioBuffer<float>& to,
                           const std::atomic<float>& width) {
                           renderChosen(from, to, width, feedbackShare, spread);
                       });
    }

    // The recipe's render for the block: feeding back only where the effect offers feedback and
    // it is not 0 (at 0 the line takes the input itself, as an effect without feedback does),
    // an oscillator per channel where the shared one is spread.
    [[gnu::always_inline]] void renderChosen(const AudioBuffer<float>& input,
                                             AudioBuffer<float>& output,
                                             const std::atomic<float>& width, float feedbackShare,
                                             bool spread) {
        if constexpr (kRecipe.offersFeedback) {
            if (feedbackShare != 0.0f) {
                return renderSpread<feedingBack(kRecipe, true)>(input, output, width, feedbackShare,
                                                                spread);
            }
            return renderSpread<feedingBack(kRecipe, false)>(input, output, width, 0.0f, spread);
        }
        renderSpread<kRecipe>(input, output, width, 0.0f, spread);
    }

    template <SweepRecipe kChosen>
    [[gnu::always_inline]] void renderSpread(const AudioBuffer<float>& input,
                                             AudioBuffer<float>& output,
                                             const std::atomic<float>& width, float feedbackShare,
                                             bool spread) {
        if constexpr (!kChosen.oscillatorPerChannel) {
            if (spread) return renderSpreadOut<kChosen>(input, output, width, feedbackShare);
        }
        renderAs<kChosen>(input, output, width, feedbackShare);
    }

    // Kept out of line, so that the shared oscillator's path stays as compact as it was.
    template <SweepRecipe kChosen>
    [[gnu::noinline]] void renderSpreadOut(const AudioBuffer<float>& input,
                                           AudioBuffer<float>& output,
                                           const std::atomic<float>& width, float feedbackShare) {
        renderAs<oscillatorForEachChannel(kChosen)>(input, output, width, feedbackShare);
    }

    template <SweepRecipe kChosen>
    [[gnu::always_inline]] void renderAs(const AudioBuffer<float>& input,
                                         AudioBuffer<float>& output,
                                         const std::atomic<float>& width, float feedbackShare) {
        SweptDelayRenderer::render<kChosen>(input, output, oscillators_.data(), lookAheads_.data(),
                                            lines_.data(), width, kChosen.wetGain, feedbackShare);
    }
};

}  // namespace ostrana::extensions::audioeffects
