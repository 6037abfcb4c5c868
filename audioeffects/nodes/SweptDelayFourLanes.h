#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "nodes/SweptDelayKernel.h"

namespace ostrana::extensions::audioeffects {

// The swept delay's steps on four frames of a channel at once, with SSE2.
struct SweptDelayFourLanes : SweptDelayKernel {
    using SweptDelayKernel::readsClear;

    // Four consecutive frames of one channel of a kLineLength-sample line at once, lane k
    // being frame + k, written at slot w + k with swings[k]. Each lane performs the single
    // step's operations in the same precision and order, so the values are the same, provided
    // that every read position is placed, the four slots do not wrap, and no lane reads a slot
    // that another lane writes on the other side of it in single steps (see readsClear).
    // Returns false, having touched nothing, when that does not hold.
    template <SweepRecipe kRecipe>
    [[gnu::always_inline]] static bool run(const Channel& channel, unsigned int frame, int w,
                                           const float* swings, float wetGain, float feedback) {
#if defined(__SSE2__)
        constexpr float kSizeF = static_cast<float>(kLineLength);
        if (w > kLineLength - 4) return false;
        const __m128i lanes = _mm_setr_epi32(0, 1, 2, 3);
        const __m128i slots = _mm_add_epi32(_mm_set1_epi32(w), lanes);
        const __m128 size = _mm_set1_ps(kSizeF);
        const __m128 position =
            _mm_add_ps(_mm_add_ps(_mm_sub_ps(_mm_cvtepi32_ps(slots), _mm_loadu_ps(swings)),
                                  _mm_set1_ps(-kRecipe.baseDelay)),
                       size);
        const __m128 placed = _mm_and_ps(_mm_cmpgt_ps(position, _mm_setzero_ps()),
                                         _mm_cmplt_ps(position, _mm_set1_ps(2.0f * kSizeF)));
        if (_mm_movemask_ps(placed) != 0xF) return false;
        const __m128 wrapped = _mm_sub_ps(position, _mm_and_ps(_mm_cmpge_ps(position, size), size));
        const __m128i index = _mm_cvttps_epi32(wrapped);
        const __m128 frac = _mm_sub_ps(wrapped, _mm_cvtepi32_ps(index));

        // The common case: four neighbouring slots and their four neighbours, none wrapping, as
        // the swing moves by far less than a sample per frame. Every lane is then the same
        // distance behind its own slot.
        const int first = _mm_cvtsi128_si32(index);
        const __m128i run = _mm_add_epi32(_mm_set1_epi32(first), lanes);
        const bool neighbours =
            _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(index, run))) == 0xF &&
            first <= kLineLength - 5;
        const __m128i length = _mm_set1_epi32(kLineLength);
        if (neighbours) {
            if (!readsClear<kRecipe>(w >= first ? w - first : w - first + kLineLength)) {
                return false;
            }
        } else {
            __m128i behind = _mm_sub_epi32(slots, index);
            behind = _mm_add_epi32(
                behind, _mm_and_si128(_mm_cmplt_epi32(behind, _mm_setzero_si128()), length));
            if (!readsClear<kRecipe>(behind)) return false;
        }

        float* data = channel.data;
        const __m128 x = _mm_loadu_ps(channel.input + frame);
        if constexpr (kRecipe.writesBeforeReading) _mm_storeu_ps(data + w, x);
        __m128 a;
        __m128 b;
        if (neighbours) {
            a = _mm_loadu_ps(data + first);
            b = _mm_loadu_ps(data + first + 1);
        } else {
            __m128i next = _mm_add_epi32(index, _mm_set1_epi32(1));
            next = _mm_andnot_si128(_mm_cmpeq_epi32(next, length), next);
            alignas(16) int indices[4];
            alignas(16) int nextIndices[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(indices), index);
            _mm_store_si128(reinterpret_cast<__m128i*>(nextIndices), next);
            a = _mm_setr_ps(data[indices[0]], data[indices[1]], data[indices[2]], data[indices[3]]);
            b = _mm_setr_ps(data[nextIndices[0]], data[nextIndices[1]], data[nextIndices[2]],
                            data[nextIndices[3]]);
        }
        const __m128 fracB = _mm_mul_ps(frac, b);
        const __m128d one = _mm_set1_pd(1.0);
        const __m128d low = _mm_add_pd(
            _mm_cvtps_pd(fracB), _mm_mul_pd(_mm_sub_pd(one, _mm_cvtps_pd(frac)), _mm_cvtps_pd(a)));
        const __m128d high =
            _mm_add_pd(_mm_cvtps_pd(_mm_movehl_ps(fracB, fracB)),
                       _mm_mul_pd(_mm_sub_pd(one, _mm_cvtps_pd(_mm_movehl_ps(frac, frac))),
                                  _mm_cvtps_pd(_mm_movehl_ps(a, a))));
        const __m128 wet = _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
        if constexpr (!kRecipe.writesBeforeReading) {
            if constexpr (kRecipe.feedsBack) {
                _mm_storeu_ps(data + w, _mm_add_ps(_mm_mul_ps(_mm_set1_ps(feedback), wet), x));
            } else {
                _mm_storeu_ps(data + w, x);
            }
        }
        if constexpr (kRecipe.keepsDry) {
            _mm_storeu_ps(channel.output + frame,
                          _mm_add_ps(_mm_mul_ps(wet, _mm_set1_ps(wetGain)), x));
        } else {
            _mm_storeu_ps(channel.output + frame, wet);
        }
        return true;
#else
        (void)channel, (void)frame, (void)w, (void)swings, (void)wetGain, (void)feedback;
        return false;
#endif
    }

#if defined(__SSE2__)
    // readsClear for four lanes at once.
    template <SweepRecipe kRecipe>
    static bool readsClear(__m128i behind) {
        __m128i clear;
        if constexpr (kRecipe.writesBeforeReading) {
            clear = _mm_and_si128(_mm_cmpgt_epi32(behind, _mm_setzero_si128()),
                                  _mm_cmplt_epi32(behind, _mm_set1_epi32(kLineLength - 3)));
        } else {
            clear = _mm_cmpgt_epi32(behind, _mm_set1_epi32(4));
        }
        return _mm_movemask_ps(_mm_castsi128_ps(clear)) == 0xF;
    }
#endif
};

}  // namespace ostrana::extensions::audioeffects
