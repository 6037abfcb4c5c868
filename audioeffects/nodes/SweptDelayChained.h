#pragma once

#include <bit>
#include <cstdint>

#include "nodes/SweptDelayKernel.h"

namespace ostrana::extensions::audioeffects {

// The swept delay's steps on frames of a channel that must run one after another, as the
// flanger's do at the bottom of its sweep, where each sample reads what the few before it
// wrote. The read positions depend on no sample, so they are all placed first, in lanes where
// the compiler can; what is left for each frame in turn is its runChannel: the read, the mix,
// the write and the output. These are the single frames' steps in the same order, so any read
// distance is taken; what is saved is each frame's own conversions for the placing (the write
// pointer to float, the position to an index and back), on which single frames wait.
struct SweptDelayChained : SweptDelayKernel {
    // kWidth consecutive frames of one channel, frame + k written at slot w + k with swings[k],
    // each performing the single step's operations in the same precision and order. Returns
    // false, having touched nothing, when a position is not placed or the slots would wrap.
    template <SweepRecipe kRecipe, unsigned int kWidth>
    [[gnu::always_inline]] static bool run(const Channel& channel, unsigned int frame, int w,
                                           const float* swings, float wetGain, float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        if (w > kLineLength - static_cast<int>(kWidth)) return false;
        // Tap::at for each frame, without its branch so that the loop runs in lanes: a position
        // that is not placed is taken as +0 by a mask (keeping its conversion defined), and the
        // frames are refused below.
        int indices[kWidth];
        int nextIndices[kWidth];
        float fracs[kWidth];
        int placed = 1;
        for (unsigned int k = 0; k < kWidth; ++k) {
            const float position =
                positionOf<kRecipe>(static_cast<float>(w + static_cast<int>(k)), swings[k], kSizeF);
            const bool inRing = (position > 0.0f) & (position < 2.0f * kSizeF);
            placed &= static_cast<int>(inRing);
            const float inside = std::bit_cast<float>(std::bit_cast<std::uint32_t>(position) &
                                                      (0u - static_cast<std::uint32_t>(inRing)));
            const float wrapped = inside - (inside >= kSizeF ? kSizeF : 0.0f);
            const int index = static_cast<int>(wrapped);
            indices[k] = index;
            nextIndices[k] = index + 1 == kLineLength ? 0 : index + 1;
            fracs[k] = wrapped - static_cast<float>(index);
        }
        if (placed == 0) return false;

        for (unsigned int k = 0; k < kWidth; ++k) {
            runChannel<kRecipe>(channel, frame + k, w + static_cast<int>(k),
                                Tap{indices[k], nextIndices[k], fracs[k], true}, 0.0f, wetGain,
                                feedback);
        }
        return true;
    }
};

}  // namespace ostrana::extensions::audioeffects
