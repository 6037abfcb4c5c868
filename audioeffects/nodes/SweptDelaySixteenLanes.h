#pragma once

#include "audio/LaneTarget.h"
#include "nodes/SweptDelayKernel.h"

namespace ostrana::extensions::audioeffects {

// GCC 12's AVX-512 intrinsics initialise their placeholder operands from themselves, which
// -Wuninitialized and -Wmaybe-uninitialized report wherever they are inlined (fixed in later
// GCC); nothing here reads an uninitialised value.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)  // a GCC warning; Clang (the fuzzers) has no such group
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

// The swept delay's steps on sixteen frames of a channel at once, with AVX-512F (compiled for
// it here whatever the build's target; run only on processors that have it).
struct SweptDelaySixteenLanes : SweptDelayKernel {
#if OSTRANA_X86_64_LANES
    // Sixteen consecutive frames of one channel at once: lane k is frame + k, written at slot
    // w + k with swings[k], and performs the single step's operations in the same precision
    // and order. Every lane's two samples are picked out of one window of 32 slots. Returns
    // false, having touched nothing, when a position is not placed, the sixteen slots would
    // wrap, the positions do not fit one window, or a lane would read a slot that another lane
    // writes on the other side of it in single steps: reading first, a slot of an earlier lane
    // (1 to 16 behind); writing first, a slot of a later lane (0 behind, or 1 to 15 ahead).
    template <SweepRecipe kRecipe>
    [[gnu::target("avx512f")]] static bool run(const Channel& channel, unsigned int frame, int w,
                                               const float* swings, float wetGain, float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        constexpr int kWindow = 32;
        if (w > kLineLength - 16) return false;
        const __m512i lanes =
            _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        const __m512i slots = _mm512_add_epi32(_mm512_set1_epi32(w), lanes);
        const __m512 size = _mm512_set1_ps(kSizeF);
        const __m512 position = _mm512_add_ps(
            _mm512_add_ps(_mm512_sub_ps(_mm512_cvtepi32_ps(slots), _mm512_loadu_ps(swings)),
                          _mm512_set1_ps(-kRecipe.baseDelay)),
            size);
        const __mmask16 placed =
            _mm512_cmp_ps_mask(position, _mm512_setzero_ps(), _CMP_GT_OQ) &
            _mm512_cmp_ps_mask(position, _mm512_set1_ps(2.0f * kSizeF), _CMP_LT_OQ);
        if (placed != 0xFFFF) return false;
        const __m512 wrapped = _mm512_mask_sub_ps(
            position, _mm512_cmp_ps_mask(position, size, _CMP_GE_OQ), position, size);
        const __m512i index = _mm512_cvttps_epi32(wrapped);
        const __m512 frac = _mm512_sub_ps(wrapped, _mm512_cvtepi32_ps(index));

        // Every lane's two slots within [first, first + kWindow), which does not wrap.
        const int first = _mm_cvtsi128_si32(_mm512_castsi512_si128(index));
        if (first > kLineLength - kWindow) return false;
        const __m512i offset = _mm512_sub_epi32(index, _mm512_set1_epi32(first));
        const __mmask16 inWindow =
            _mm512_cmp_epi32_mask(offset, _mm512_setzero_si512(), _MM_CMPINT_NLT) &
            _mm512_cmp_epi32_mask(offset, _mm512_set1_epi32(kWindow - 1), _MM_CMPINT_LT);
        if (inWindow != 0xFFFF) return false;
        __m512i behind = _mm512_sub_epi32(slots, index);
        behind = _mm512_mask_add_epi32(
            behind, _mm512_cmp_epi32_mask(behind, _mm512_setzero_si512(), _MM_CMPINT_LT), behind,
            _mm512_set1_epi32(kLineLength));
        __mmask16 clear;
        if constexpr (kRecipe.writesBeforeReading) {
            clear =
                _mm512_cmp_epi32_mask(behind, _mm512_setzero_si512(), _MM_CMPINT_NLE) &
                _mm512_cmp_epi32_mask(behind, _mm512_set1_epi32(kLineLength - 15), _MM_CMPINT_LT);
        } else {
            clear = _mm512_cmp_epi32_mask(behind, _mm512_set1_epi32(16), _MM_CMPINT_NLE);
        }
        if (clear != 0xFFFF) return false;

        float* data = channel.data;
        const __m512 x = _mm512_loadu_ps(channel.input + frame);
        if constexpr (kRecipe.writesBeforeReading) _mm512_storeu_ps(data + w, x);
        const __m512 low = _mm512_loadu_ps(data + first);
        const __m512 high = _mm512_loadu_ps(data + first + 16);
        const __m512 a = _mm512_permutex2var_ps(low, offset, high);
        const __m512 b =
            _mm512_permutex2var_ps(low, _mm512_add_epi32(offset, _mm512_set1_epi32(1)), high);
        const __m512 fracB = _mm512_mul_ps(frac, b);
        const __m512 wet = combine(mix(lowerHalf(frac), lowerHalf(a), lowerHalf(fracB)),
                                   mix(upperHalf(frac), upperHalf(a), upperHalf(fracB)));
        if constexpr (!kRecipe.writesBeforeReading) {
            if constexpr (kRecipe.feedsBack) {
                _mm512_storeu_ps(data + w,
                                 _mm512_add_ps(_mm512_mul_ps(_mm512_set1_ps(feedback), wet), x));
            } else {
                _mm512_storeu_ps(data + w, x);
            }
        }
        if constexpr (kRecipe.keepsDry) {
            _mm512_storeu_ps(channel.output + frame,
                             _mm512_add_ps(_mm512_mul_ps(wet, _mm512_set1_ps(wetGain)), x));
        } else {
            _mm512_storeu_ps(channel.output + frame, wet);
        }
        return true;
    }

  private:
    [[gnu::target("avx512f"), gnu::always_inline]] static __m256 lowerHalf(__m512 v) {
        return _mm512_castps512_ps256(v);
    }
    [[gnu::target("avx512f"), gnu::always_inline]] static __m256 upperHalf(__m512 v) {
        return _mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1));
    }
    [[gnu::target("avx512f"), gnu::always_inline]] static __m512 combine(__m256 low, __m256 high) {
        return _mm512_castpd_ps(_mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_castps_pd(low)),
                                                   _mm256_castps_pd(high), 1));
    }
    // The ring's interpolation of eight lanes, in double as a single read takes it:
    // frac * b + (1 - frac) * a, with frac * b formed in single precision.
    [[gnu::target("avx512f"), gnu::always_inline]] static __m256 mix(__m256 frac, __m256 a,
                                                                     __m256 fracB) {
        const __m512d oneLessFrac = _mm512_sub_pd(_mm512_set1_pd(1.0), _mm512_cvtps_pd(frac));
        return _mm512_cvtpd_ps(
            _mm512_add_pd(_mm512_cvtps_pd(fracB), _mm512_mul_pd(oneLessFrac, _mm512_cvtps_pd(a))));
    }
#endif
};

#pragma GCC diagnostic pop

}  // namespace ostrana::extensions::audioeffects
