#pragma once

#include <algorithm>
#include <atomic>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LaneChoice.h>
#include <ostrana/sdk/AudioBuffer.h>

#include "audio/LaneTarget.h"
#include "audio/Lanes.h"
#include "nodes/SweptDelayChained.h"
#include "nodes/SweptDelayKernel.h"
#include "nodes/SweptDelayLanes.h"

namespace ostrana::extensions::audioeffects {

// Renders blocks of a swept-delay effect: the oscillator steps, then the line work, in the
// widest lanes the processor has within LaneChoice's limit; everything per sample inline,
// instantiated for the recipe.
class SweptDelayRenderer : SweptDelayKernel {
  public:
    // Runs one block of input.getNumberOfChannels() channels (at least 1, at most the number of
    // lines) and input.getNumberOfFrames() frames into output: frame by frame, and within a
    // frame channel by channel. oscillators holds one oscillator per channel, or the shared
    // one, and lookAheads one look-ahead for each. sweepWidth is loaded afresh for each
    // oscillator step.
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static void render(const AudioBuffer<float>& input,
                                              AudioBuffer<float>& output, audio::LFO* oscillators,
                                              AlignedLookAhead* lookAheads,
                                              audio::CircularBuffer* lines,
                                              const std::atomic<float>& sweepWidth, float wetGain,
                                              float feedback) {
        const Block block{input, output,     oscillators, lookAheads,
                          lines, sweepWidth, wetGain,     feedback};
        switch (input.getNumberOfChannels()) {
            case 1:
                if (sharesWritePointer(block, 1)) return renderHoisted<kRecipe, 1>(block);
                break;
            case 2:
                if (sharesWritePointer(block, 2)) return renderHoisted<kRecipe, 2>(block);
                break;
            default:
                break;
        }
        renderAnyChannels<kRecipe>(block);
    }

  private:
    // How many frames of a channel the line work takes in one step where it can: four (SSE2),
    // eight on processors with AVX2, sixteen with AVX-512F. All give the same values, bit for
    // bit.
    enum class Lanes { kFour, kEight, kSixteen };

    // The widest lanes this processor runs within LaneChoice's limit.
    static Lanes lanesInUse();

    // kWidth frames of a channel (16, 8, 4, or what halving gives down to 1) from frame on, at
    // w: in one step of the form of that width where it can take them, or chained
    // (SweptDelayChained) where the delay is too short for any lanes, else as two runs of half
    // the width, so that four frames fall back on single frames. shortestSwing is the guess at
    // the frames' shortest swing that decides which is worth trying (worthTrying). The halves
    // run in a loop, not unrolled: one copy of each width's code, not two of the next.
    template <SweepRecipe kRecipe, unsigned int kWidth>
    [[gnu::always_inline]] static void runWidth(const Channel& channel, unsigned int frame, int w,
                                                const float* swings, float shortestSwing,
                                                float wetGain, float feedback) {
        if constexpr (kWidth == 1) {
            runFrame<kRecipe>(channel, frame, w, swings[0], wetGain, feedback);
        } else {
            if (worthTrying<kRecipe, kWidth>(shortestSwing) &&
                runLanes<kRecipe, kWidth>(channel, frame, w, swings, wetGain, feedback)) {
                return;
            }
            // Too short a delay for even four lanes: the frames run chained, one after another.
            if constexpr (kDelayReachesLanes<kRecipe>) {
                if (!worthTrying<kRecipe, 4>(shortestSwing) &&
                    SweptDelayChained::run<kRecipe, kWidth>(channel, frame, w, swings, wetGain,
                                                            feedback)) {
                    return;
                }
            }
            constexpr unsigned int kHalf = kWidth / 2;
#pragma GCC unroll 1
            for (unsigned int half = 0; half < kWidth; half += kHalf) {
                runWidth<kRecipe, kHalf>(channel, frame + half, stepped(w, static_cast<int>(half)),
                                         swings + half, shortestSwing, wetGain, feedback);
            }
        }
    }

    // Whether the recipe's delay can come within reach of the lanes: reading before writing, a
    // lane form of width W takes only frames whose delay, baseDelay + swing, is more than W
    // samples (SweptDelayLanes::readsClear). Write-first recipes, and those whose base delay
    // alone is longer than the widest lanes, take every width wherever the swing is not
    // negative.
    template <SweepRecipe kRecipe>
    static constexpr bool kDelayReachesLanes =
        !kRecipe.writesBeforeReading &&
        kRecipe.baseDelay <= static_cast<float>(audio::LaneChoice::kWidest);

    // A guess at the shortest swing of kWidth frames: the shorter of the first and the last,
    // which is right but where the sweep turns within the frames.
    template <SweepRecipe kRecipe, unsigned int kWidth>
    [[gnu::always_inline]] static float shortestSwingOf(const float* swings) {
        if constexpr (kDelayReachesLanes<kRecipe>) {
            return std::min(swings[0], swings[kWidth - 1]);
        } else {
            return 0.0f;
        }
    }

    // Whether the form of width kWidth is worth trying on frames whose shortest swing is about
    // shortestSwing. Where the delay is too short for it, the frames go to the narrower widths
    // at once instead of being tried and refused at each width on the way down (the flanger at
    // the bottom of its sweep). The forms check every lane themselves, so a wrong guess changes
    // which form runs, never a value.
    template <SweepRecipe kRecipe, unsigned int kWidth>
    [[gnu::always_inline]] static bool worthTrying(float shortestSwing) {
        if constexpr (kDelayReachesLanes<kRecipe>) {
            return shortestSwing + kRecipe.baseDelay > static_cast<float>(kWidth);
        } else {
            return true;
        }
    }

    // The lane form of width kWidth (SweptDelayLanes) on kWidth frames of a channel; false,
    // having touched nothing, where it cannot take them or this build has no lanes that wide.
    template <SweepRecipe kRecipe, unsigned int kWidth>
    [[gnu::always_inline]] static bool runLanes(const Channel& channel, unsigned int frame, int w,
                                                const float* swings, float wetGain,
                                                float feedback) {
        if constexpr (audio::kLanesBuilt<kWidth>) {
            return SweptDelayLanes<kWidth>::template run<kRecipe>(channel, frame, w, swings,
                                                                  wetGain, feedback);
        } else {
            return false;
        }
    }

    // Steps of kWidth frames of every channel from frame start + i on while they fit in count,
    // i and the shared write pointer w moving with them.
    template <SweepRecipe kRecipe, unsigned int kChannels, unsigned int kWidth>
    [[gnu::always_inline]] static void runSteps(const Channel* channels,
                                                const float* const* channelSwings,
                                                unsigned int start, unsigned int count,
                                                unsigned int& i, int& w, float wetGain,
                                                float feedback) {
        for (; i + kWidth <= count; i += kWidth) {
#pragma GCC unroll 2
            for (unsigned int c = 0; c < kChannels; ++c) {
                const float* swings = channelSwings[c] + i;
                runWidth<kRecipe, kWidth>(channels[c], start + i, w, swings,
                                          shortestSwingOf<kRecipe, kWidth>(swings), wetGain,
                                          feedback);
            }
            w = stepped(w, kWidth);
        }
    }

    // renderLines in the widest lanes in use.
    template <SweepRecipe kRecipe, unsigned int kChannels>
    static void renderHoisted(const Block& block) {
#if OSTRANA_X86_64_LANES
        switch (lanesInUse()) {
            case Lanes::kSixteen:
                return renderSixteenLanes<kRecipe, kChannels>(block);
            case Lanes::kEight:
                return renderEightLanes<kRecipe, kChannels>(block);
            case Lanes::kFour:
                break;
        }
#endif
        renderLines<kRecipe, kChannels, Lanes::kFour>(block);
    }

#if OSTRANA_X86_64_LANES
    // renderLines compiled for AVX2, everything it calls compiled into it. Only for processors
    // that have AVX2 (lanesInUse).
    template <SweepRecipe kRecipe, unsigned int kChannels>
    [[gnu::target("avx2"), gnu::flatten]] static void renderEightLanes(const Block& block) {
        renderLines<kRecipe, kChannels, Lanes::kEight>(block);
    }

    // renderLines compiled for AVX-512F, for processors that have it.
    template <SweepRecipe kRecipe, unsigned int kChannels>
    [[gnu::target("avx512f"), gnu::flatten]] static void renderSixteenLanes(const Block& block) {
        renderLines<kRecipe, kChannels, Lanes::kSixteen>(block);
    }
#endif

    // kChannels channels of kLineLength-sample lines sharing one write pointer, held in locals
    // for the whole block. The block is run in chunks of kChunk frames: first the chunk's
    // oscillator steps, then the chunk's line work, which calls nothing and so overlaps from
    // sample to sample, kLanes frames of a channel at a time where it can. The oscillator steps
    // are each oscillator's block of steps (processBlockAhead: on short blocks they come from
    // steps computed ahead, with the values and parameter loads of processBlock), then the swings,
    // frame by frame and channel by channel, each with its own load of sweepWidth. Oscillators and
    // lines never touch each other, each oscillator only its own state, and each channel's line
    // work touches only its own line and samples, so none of these splits changes a value.
    template <SweepRecipe kRecipe, unsigned int kChannels, Lanes kLanes>
    static void renderLines(const Block& block) {
        constexpr unsigned int kChunk = 256;
        constexpr unsigned int kOscillators = kRecipe.oscillatorPerChannel ? kChannels : 1;
        const unsigned int frames = block.input.getNumberOfFrames();
        const unsigned int rate = block.input.getSampleRate();
        const int oscillatorRate = static_cast<int>(rate);
        const float rateF = static_cast<float>(rate);
        Channel channels[kChannels];
        for (unsigned int c = 0; c < kChannels; ++c) {
            audio::CircularBuffer& line = block.lines[c];
            channels[c] = Channel{&line, line.getData(), block.input.getChannel(c),
                                  block.output.getChannel(c)};
        }
        const float wetGain = block.wetGain;
        const float feedback = block.feedback;
        float swings[kOscillators][kChunk];
        int w = block.lines[0].getWritePointer();
        for (unsigned int start = 0; start < frames; start += kChunk) {
            const unsigned int count = frames - start < kChunk ? frames - start : kChunk;
            for (unsigned int o = 0; o < kOscillators; ++o) {
                block.oscillators[o].processBlockAhead(oscillatorRate, swings[o], count,
                                                       block.lookAheads[o]);
            }
            for (unsigned int i = 0; i < count; ++i) {
#pragma GCC unroll 2
                for (unsigned int o = 0; o < kOscillators; ++o) {
                    swings[o][i] = swingOf(block, swings[o][i], rateF);
                }
            }
            const float* channelSwings[kChannels];
            for (unsigned int c = 0; c < kChannels; ++c) {
                channelSwings[c] = swings[kRecipe.oscillatorPerChannel ? c : 0];
            }
            unsigned int i = 0;
            if constexpr (kLanes == Lanes::kSixteen) {
                runSteps<kRecipe, kChannels, 16>(channels, channelSwings, start, count, i, w,
                                                 wetGain, feedback);
            }
            if constexpr (kLanes != Lanes::kFour) {
                runSteps<kRecipe, kChannels, 8>(channels, channelSwings, start, count, i, w,
                                                wetGain, feedback);
            }
            runSteps<kRecipe, kChannels, 4>(channels, channelSwings, start, count, i, w, wetGain,
                                            feedback);
            for (; i < count; ++i) {
#pragma GCC unroll 2
                for (unsigned int c = 0; c < kChannels; ++c) {
                    const float swing = swings[kRecipe.oscillatorPerChannel ? c : 0][i];
                    runFrame<kRecipe>(channels[c], start + i, w, swing, wetGain, feedback);
                }
                w = stepped(w, 1);
            }
        }
        for (unsigned int c = 0; c < kChannels; ++c) block.lines[c].setWritePointer(w);
    }

    // Any channel count and any lines: the same steps, each line's own pointer taken and
    // stepped per sample.
    template <SweepRecipe kRecipe>
    static void renderAnyChannels(const Block& block) {
        const unsigned int channelCount = block.input.getNumberOfChannels();
        const unsigned int frames = block.input.getNumberOfFrames();
        const unsigned int rate = block.input.getSampleRate();
        const int oscillatorRate = static_cast<int>(rate);
        const float rateF = static_cast<float>(rate);
        // These step the oscillators one at a time: nothing may stand computed ahead.
        const unsigned int oscillatorsUsed = kRecipe.oscillatorPerChannel ? channelCount : 1;
        for (unsigned int o = 0; o < oscillatorsUsed; ++o) {
            block.oscillators[o].settle(block.lookAheads[o]);
        }
        for (unsigned int f = 0; f < frames; ++f) {
            float swing = 0.0f;
            if constexpr (!kRecipe.oscillatorPerChannel) {
                swing = swingOf(block, block.oscillators[0], oscillatorRate, rateF);
            }
            for (unsigned int c = 0; c < channelCount; ++c) {
                if constexpr (kRecipe.oscillatorPerChannel) {
                    swing = swingOf(block, block.oscillators[c], oscillatorRate, rateF);
                }
                audio::CircularBuffer& line = block.lines[c];
                const int size = line.getSize();
                const float sizeF = static_cast<float>(size);
                const int w = line.getWritePointer();
                const float position = positionOf<kRecipe>(static_cast<float>(w), swing, sizeF);
                const Channel channel{&line, line.getData(), block.input.getChannel(c),
                                      block.output.getChannel(c)};
                runChannel<kRecipe>(channel, f, w, Tap::at(position, size, sizeF), position,
                                    block.wetGain, block.feedback);
                line.stepWritePointer(1);
            }
        }
    }
};

}  // namespace ostrana::extensions::audioeffects
