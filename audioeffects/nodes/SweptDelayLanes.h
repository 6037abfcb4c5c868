#pragma once

#include "audio/Lanes.h"
#include "nodes/SweptDelayKernel.h"

namespace ostrana::extensions::audioeffects {

// The swept delay's steps on kWidth consecutive frames of a channel at once, over the lane types
// of that width (audio/Lanes.h): four (SSE2), eight (AVX2) or sixteen (AVX-512F). Only for widths
// this build has (audio::kLanesBuilt); the eight and sixteen are inlined only into the
// renderer's functions compiled for their instructions.
template <unsigned int kWidth>
struct SweptDelayLanes : SweptDelayKernel {
    using Floats = audio::FloatLanes<kWidth>;
    using Ints = audio::IntLanes<kWidth>;
    using Half = typename Floats::Half;
    static constexpr int kLanes = static_cast<int>(kWidth);

    // Lane k is frame + k, written at slot w + k with swings[k], and performs the single step's
    // operations (runFrame) in the same precision and order, so the values are the same. Each
    // lane's two samples are either the next kWidth slots and their neighbours, or picked out of
    // one window of 2 * kWidth slots (as when the swing crosses a whole sample within the
    // frames, and always where picking is as cheap as loading). Returns false, having touched
    // nothing, when a position is not placed, the slots would wrap, the reads fit neither way, or a
    // lane would read a slot that another lane writes on the other side of it in single steps
    // (readsClear).
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static bool run(const Channel& channel, unsigned int frame, int w,
                                           const float* swings, float wetGain, float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        if (w > kLineLength - kLanes) return false;
        const Ints lanes = Ints::ramp();
        const Ints slots = Ints::fill(w) + lanes;
        const Floats size = Floats::fill(kSizeF);
        const Floats position =
            ((Floats::from(slots) - Floats::load(swings)) + Floats::fill(-kRecipe.baseDelay)) +
            size;
        if (!((position > Floats::zero()) & (position < Floats::fill(2.0f * kSizeF))).all()) {
            return false;
        }
        const Floats wrapped = position.minusWhere(position >= size, size);
        const Ints index = wrapped.truncated();
        const Floats frac = wrapped - Floats::from(index);

        const int first = index.firstLane();
        const Ints offset = index - Ints::fill(first);
        // Where picking from the window costs what loading does, the test for neighbours would
        // only add a branch that the sweep's crossings of whole samples mispredict.
        const bool neighbours = !Floats::kPicksLikeLoads && (offset == lanes).all() &&
                                first <= kLineLength - kLanes - 1;
        if (neighbours) {
            // Every lane is then the same distance behind its own slot.
            if (!readsClear<kRecipe>(w >= first ? w - first : w - first + kLineLength)) {
                return false;
            }
        } else if (!fitsWindow(offset, first) || !readsClear<kRecipe>(behind(slots, index))) {
            return false;
        }

        float* data = channel.data;
        const Floats x = Floats::load(channel.input + frame);
        if constexpr (kRecipe.writesBeforeReading) x.store(data + w);
        Floats a;
        Floats b;
        if (neighbours) {
            a = Floats::load(data + first);
            b = Floats::load(data + first + 1);
        } else {
            const typename Floats::Pair picked = Floats::Window::at(data + first).pick(offset);
            a = picked.at;
            b = picked.next;
        }
        const Floats fracB = frac * b;
        // The low half first: SSE2 takes the high half by moving it over the low, which then
        // costs a copy while the low half is still wanted.
        const Half low = mix(frac.widenLow(), a.widenLow(), fracB.widenLow());
        const Half high = mix(frac.widenHigh(), a.widenHigh(), fracB.widenHigh());
        const Floats wet = Floats::narrow(low, high);
        if constexpr (!kRecipe.writesBeforeReading) {
            if constexpr (kRecipe.feedsBack) {
                (Floats::fill(feedback) * wet + x).store(data + w);
            } else {
                x.store(data + w);
            }
        }
        if constexpr (kRecipe.keepsDry) {
            (wet * Floats::fill(wetGain) + x).store(channel.output + frame);
        } else {
            wet.store(channel.output + frame);
        }
        return true;
    }

  private:
    // Whether every lane's two slots lie within [first, first + 2 * kWidth), which must not
    // wrap.
    [[gnu::always_inline]] static bool fitsWindow(Ints offset, int first) {
        return first <= kLineLength - 2 * kLanes &&
               (offset < Ints::fill(2 * kLanes - 1)).except(offset < Ints::zero()).all();
    }

    // How far each lane reads behind its own slot, in [0, kLineLength).
    [[gnu::always_inline]] static Ints behind(Ints slots, Ints index) {
        const Ints distance = slots - index;
        return distance.plusWhere(distance < Ints::zero(), Ints::fill(kLineLength));
    }

    // Whether lanes reading `behind` slots behind their own slot (and the slot after that) see
    // only what single steps would. Reading before writing, a lane must not reach the slot of
    // an earlier lane: 1 to kWidth behind. Writing first, it must not reach the slot of a later
    // lane: 0 behind (with its second slot) or 1 to kWidth - 1 ahead.
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static bool readsClear(Ints behind) {
        if constexpr (kRecipe.writesBeforeReading) {
            return ((behind > Ints::zero()) & (behind < Ints::fill(kLineLength - (kLanes - 1))))
                .all();
        } else {
            return (behind > Ints::fill(kLanes)).all();
        }
    }
    // The same for lanes that are all `behind` slots behind their own.
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static bool readsClear(int behind) {
        if constexpr (kRecipe.writesBeforeReading) {
            return behind > 0 && behind < kLineLength - (kLanes - 1);
        } else {
            return behind > kLanes;
        }
    }

    // The ring's interpolation of half the lanes, in double as a single read takes it
    // (audio::CircularBuffer::mix): frac * b + (1 - frac) * a, with frac * b formed in single
    // precision.
    [[gnu::always_inline]] static Half mix(Half frac, Half a, Half fracB) {
        return fracB + (Half::fill(1.0) - frac) * a;
    }
};

}  // namespace ostrana::extensions::audioeffects
