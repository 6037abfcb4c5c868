#pragma once

#include <atomic>

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/audio/LFOLookAhead.h>
#include <ostrana/sdk/AudioBuffer.h>

#include "nodes/DelayLineLength.h"
#include "nodes/SweepRecipe.h"

namespace ostrana::extensions::audioeffects {

// An oscillator's look-ahead on a cache line of its own. Its steps are written 16 at a time and
// copied out a block at a time: on a line boundary a 32-frame block's steps span two lines, not
// three, and how the heap happens to fall can no longer make the same code slower.
struct alignas(64) AlignedLookAhead : audio::LFOLookAhead {};

// The per-sample work of a swept delay, one sample of one channel at a time: where the read
// position falls, the interpolated read, the write and the output, in single precision and in
// the order the effect defines. The lane forms (SweptDelayLanes) do the same steps on several
// frames at once and fall back on these.
struct SweptDelayKernel {
    static constexpr int kLineLength = kDelayLineLength;

    // One block as the renderer sees it.
    struct Block {
        const AudioBuffer<float>& input;
        AudioBuffer<float>& output;
        audio::LFO* oscillators;
        AlignedLookAhead* lookAheads;  // one per oscillator
        audio::CircularBuffer* lines;
        const std::atomic<float>& sweepWidth;
        float wetGain;
        float feedback;
    };

    // What one channel reads and writes.
    struct Channel {
        audio::CircularBuffer* line;
        float* data;
        const float* input;
        float* output;
    };

    // Where a read position falls in a ring of size slots, as interpolate(fmodf(position, size))
    // takes it. Only positions in (0, 2 * size), the ones that sensible settings produce, are
    // placed: fmodf gives the position itself below size and position - size from size on
    // (exact, since size <= position < 2 * size), and in [+0, size) the floor is a truncation.
    // Zeros, negatives, NaN and the rest are left to readWrapped.
    struct Tap {
        int index;
        int nextIndex;
        float frac;
        bool placed;

        [[gnu::always_inline]] static Tap at(float position, int size, float sizeF) {
            if (!(position > 0.0f && position < 2.0f * sizeF)) return Tap{0, 0, 0.0f, false};
            const float wrapped = position >= sizeF ? position - sizeF : position;
            const int index = static_cast<int>(wrapped);
            const int nextIndex = index + 1 == size ? 0 : index + 1;
            return Tap{index, nextIndex, wrapped - static_cast<float>(index), true};
        }

        // The ring's interpolation between the tap's two slots.
        [[gnu::always_inline]] float mix(const float* data) const {
            return audio::CircularBuffer::mix(data[index], data[nextIndex], frac);
        }
    };

    // The delay's swing in samples for an oscillator value m, with a fresh load of sweepWidth.
    static float swingOf(const Block& block, float m, float rateF) {
        return (m * block.sweepWidth.load(std::memory_order_relaxed)) * rateF;
    }
    static float swingOf(const Block& block, audio::LFO& oscillator, int rate, float rateF) {
        return swingOf(block, oscillator.process(rate), rateF);
    }

    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static float positionOf(float writePointer, float swing, float sizeF) {
        return ((writePointer - swing) + (-kRecipe.baseDelay)) + sizeF;
    }

    // One sample of one channel, its line written at w and read at the tap (or at position
    // when the tap is not placed).
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static void runChannel(const Channel& channel, unsigned int frame, int w,
                                                  const Tap& tap, float position, float wetGain,
                                                  float feedback) {
        const float x = channel.input[frame];
        if constexpr (kRecipe.writesBeforeReading) channel.data[w] = x;
        const float wet = tap.placed ? tap.mix(channel.data) : readWrapped(*channel.line, position);
        if constexpr (!kRecipe.writesBeforeReading) {
            if constexpr (kRecipe.feedsBack) {
                channel.data[w] = feedback * wet + x;
            } else {
                channel.data[w] = x;
            }
        }
        if constexpr (kRecipe.keepsDry) {
            channel.output[frame] = wet * wetGain + x;
        } else {
            channel.output[frame] = wet;
        }
    }

    // Every line is cleared together and stepped together, so the lines of the block's
    // channels share one write pointer; checked all the same before relying on it.
    static bool sharesWritePointer(const Block& block, unsigned int channels) {
        for (unsigned int c = 0; c < channels; ++c) {
            const audio::CircularBuffer& line = block.lines[c];
            if (line.getSize() != kLineLength) return false;
            if (line.getWritePointer() != block.lines[0].getWritePointer()) return false;
        }
        return true;
    }

    // One frame of one channel: its read position from the swing, then its step.
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static void runFrame(const Channel& channel, unsigned int frame, int w,
                                                float swing, float wetGain, float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        const float position = positionOf<kRecipe>(static_cast<float>(w), swing, kSizeF);
        runChannel<kRecipe>(channel, frame, w, Tap::at(position, kLineLength, kSizeF), position,
                            wetGain, feedback);
    }

    static int stepped(int w, int steps) {
        return w + steps >= kLineLength ? w + steps - kLineLength : w + steps;
    }

    // interpolate(fmodf(position, N)) of the line, for any position: the path for positions
    // outside (0, 2N), kept out of the loops.
    [[gnu::noinline]] static float readWrapped(const audio::CircularBuffer& line, float position);
};

}  // namespace ostrana::extensions::audioeffects
