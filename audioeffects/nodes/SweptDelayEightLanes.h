#pragma once

#include "audio/LaneTarget.h"
#include "nodes/SweptDelayFourLanes.h"

namespace ostrana::extensions::audioeffects {

// The swept delay's steps on eight frames of a channel at once, with AVX2 (compiled for it
// here whatever the build's target; run only on processors that have it).
struct SweptDelayEightLanes : SweptDelayKernel {
#if OSTRANA_X86_64_LANES
    // SweptDelayFourLanes::run for eight frames, with AVX2: lane k is frame + k, written at slot w
    // + k with swings[k], and performs the single step's operations in the same precision and
    // order. Besides eight neighbouring slots, it takes read positions anywhere within one window
    // of sixteen slots (as when the swing crosses a whole sample within the eight frames), picking
    // each lane's two samples out of the window. Returns false, having touched nothing, when a
    // position is not placed, the eight slots would wrap, a lane would read a slot that another
    // lane writes on the other side of it in single steps (see readsClear: 1 to 8 behind when
    // reading first, 0 behind or 1 to 7 ahead when writing first), or the positions do not fit
    // one window.
    template <SweepRecipe kRecipe>
    [[gnu::target("avx2")]] static bool run(const Channel& channel, unsigned int frame, int w,
                                            const float* swings, float wetGain, float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        constexpr int kWindow = 16;
        if (w > kLineLength - 8) return false;
        const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        const __m256i slots = _mm256_add_epi32(_mm256_set1_epi32(w), lanes);
        const __m256 size = _mm256_set1_ps(kSizeF);
        const __m256 position = _mm256_add_ps(
            _mm256_add_ps(_mm256_sub_ps(_mm256_cvtepi32_ps(slots), _mm256_loadu_ps(swings)),
                          _mm256_set1_ps(-kRecipe.baseDelay)),
            size);
        const __m256 placed =
            _mm256_and_ps(_mm256_cmp_ps(position, _mm256_setzero_ps(), _CMP_GT_OQ),
                          _mm256_cmp_ps(position, _mm256_set1_ps(2.0f * kSizeF), _CMP_LT_OQ));
        if (_mm256_movemask_ps(placed) != 0xFF) return false;
        const __m256 wrapped =
            _mm256_sub_ps(position, _mm256_and_ps(_mm256_cmp_ps(position, size, _CMP_GE_OQ), size));
        const __m256i index = _mm256_cvttps_epi32(wrapped);
        const __m256 frac = _mm256_sub_ps(wrapped, _mm256_cvtepi32_ps(index));

        // Every lane's two slots within [first, first + kWindow), which does not wrap.
        const int first = _mm_cvtsi128_si32(_mm256_castsi256_si128(index));
        if (first > kLineLength - kWindow - 1) return false;
        const __m256i offset = _mm256_sub_epi32(index, _mm256_set1_epi32(first));
        const __m256i inWindow =
            _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_setzero_si256(), offset),
                                _mm256_cmpgt_epi32(_mm256_set1_epi32(kWindow - 1), offset));
        if (_mm256_movemask_ps(_mm256_castsi256_ps(inWindow)) != 0xFF) return false;
        __m256i behind = _mm256_sub_epi32(slots, index);
        behind = _mm256_add_epi32(
            behind, _mm256_and_si256(_mm256_cmpgt_epi32(_mm256_setzero_si256(), behind),
                                     _mm256_set1_epi32(kLineLength)));
        __m256i clear;
        if constexpr (kRecipe.writesBeforeReading) {
            clear =
                _mm256_and_si256(_mm256_cmpgt_epi32(behind, _mm256_setzero_si256()),
                                 _mm256_cmpgt_epi32(_mm256_set1_epi32(kLineLength - 7), behind));
        } else {
            clear = _mm256_cmpgt_epi32(behind, _mm256_set1_epi32(8));
        }
        if (_mm256_movemask_ps(_mm256_castsi256_ps(clear)) != 0xFF) return false;

        float* data = channel.data;
        const __m256 x = _mm256_loadu_ps(channel.input + frame);
        if constexpr (kRecipe.writesBeforeReading) _mm256_storeu_ps(data + w, x);
        __m256 a;
        __m256 b;
        if (_mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpeq_epi32(offset, lanes))) == 0xFF) {
            a = _mm256_loadu_ps(data + first);
            b = _mm256_loadu_ps(data + first + 1);
        } else {
            const __m256 low = _mm256_loadu_ps(data + first);
            const __m256 high = _mm256_loadu_ps(data + first + 8);
            const __m256i next = _mm256_add_epi32(offset, _mm256_set1_epi32(1));
            const __m256i seven = _mm256_set1_epi32(7);
            a = _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, offset),
                                 _mm256_permutevar8x32_ps(high, offset),
                                 _mm256_castsi256_ps(_mm256_cmpgt_epi32(offset, seven)));
            b = _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, next),
                                 _mm256_permutevar8x32_ps(high, next),
                                 _mm256_castsi256_ps(_mm256_cmpgt_epi32(next, seven)));
        }
        const __m256 fracB = _mm256_mul_ps(frac, b);
        const __m256d one = _mm256_set1_pd(1.0);
        const __m256d mixLow = _mm256_add_pd(
            _mm256_cvtps_pd(_mm256_castps256_ps128(fracB)),
            _mm256_mul_pd(_mm256_sub_pd(one, _mm256_cvtps_pd(_mm256_castps256_ps128(frac))),
                          _mm256_cvtps_pd(_mm256_castps256_ps128(a))));
        const __m256d mixHigh = _mm256_add_pd(
            _mm256_cvtps_pd(_mm256_extractf128_ps(fracB, 1)),
            _mm256_mul_pd(_mm256_sub_pd(one, _mm256_cvtps_pd(_mm256_extractf128_ps(frac, 1))),
                          _mm256_cvtps_pd(_mm256_extractf128_ps(a, 1))));
        const __m256 wet = _mm256_set_m128(_mm256_cvtpd_ps(mixHigh), _mm256_cvtpd_ps(mixLow));
        if constexpr (!kRecipe.writesBeforeReading) {
            if constexpr (kRecipe.feedsBack) {
                _mm256_storeu_ps(data + w,
                                 _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(feedback), wet), x));
            } else {
                _mm256_storeu_ps(data + w, x);
            }
        }
        if constexpr (kRecipe.keepsDry) {
            _mm256_storeu_ps(channel.output + frame,
                             _mm256_add_ps(_mm256_mul_ps(wet, _mm256_set1_ps(wetGain)), x));
        } else {
            _mm256_storeu_ps(channel.output + frame, wet);
        }
        return true;
    }
#endif
};

}  // namespace ostrana::extensions::audioeffects
