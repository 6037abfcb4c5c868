#pragma once

#include "audio/LaneTarget.h"

namespace ostrana::audio {

// Lane types: N floats, ints or doubles in one register, and the few operations the lane forms
// of the library's loops need. Each operation is the one instruction (or the fixed short
// sequence) of its width that gives, lane by lane, the IEEE result of the scalar operation of the
// same name, so a loop written once over these types gives the same bits at every width:
//
//   FloatLanes<N>  load, store, fill, zero, + - *, < > >= (a LaneMask), minusWhere, truncated
//                  (to IntLanes), from (IntLanes), widenLow/widenHigh (to DoubleLanes of half the
//                  lanes), narrow (two of those back), Window (picks each lane's slot and the
//                  next out of 2N slots; kPicksLikeLoads: whether that costs no more than
//                  loading N neighbours)
//   IntLanes<N>    fill, zero, ramp (0, 1, ...), + -, < > == (a LaneMask), plusWhere, firstLane
//   DoubleLanes<N> fill, + - *
//   LaneMask<N>    & , except (this and not the other), all
//
// Four lanes are SSE2; eight are AVX2 and sixteen AVX-512F, compiled for those whatever the
// build's target: their operations carry the target and are inlined only into functions compiled
// for it (the renderers' flatten), so they run only on processors that have it (LaneChoice).
// kLanesBuilt<N> says which widths this build has.
template <unsigned int N>
inline constexpr bool kLanesBuilt = false;

template <unsigned int N>
struct LaneMask;
// Each lane's slot and the slot after it, as a window's pick gives them.
template <typename Lanes>
struct LanePair {
    Lanes at;
    Lanes next;
};
template <unsigned int N>
struct IntLanes;
template <unsigned int N>
struct FloatLanes;
template <unsigned int N>
struct DoubleLanes;

#if OSTRANA_SSE2_LANES
template <>
inline constexpr bool kLanesBuilt<4> = true;

template <>
struct LaneMask<4> {
    __m128 bits;
    [[gnu::always_inline]] bool all() const { return _mm_movemask_ps(bits) == 0xF; }
    [[gnu::always_inline]] LaneMask except(LaneMask other) const {
        return {_mm_andnot_ps(other.bits, bits)};
    }
    [[gnu::always_inline]] friend LaneMask operator&(LaneMask a, LaneMask b) {
        return {_mm_and_ps(a.bits, b.bits)};
    }
};

template <>
struct IntLanes<4> {
    using Mask = LaneMask<4>;
    __m128i v;
    [[gnu::always_inline]] static IntLanes fill(int x) { return {_mm_set1_epi32(x)}; }
    [[gnu::always_inline]] static IntLanes zero() { return {_mm_setzero_si128()}; }
    [[gnu::always_inline]] static IntLanes ramp() { return {_mm_setr_epi32(0, 1, 2, 3)}; }
    [[gnu::always_inline]] int firstLane() const { return _mm_cvtsi128_si32(v); }
    // This plus b in the lanes of m, this elsewhere.
    [[gnu::always_inline]] IntLanes plusWhere(Mask m, IntLanes b) const {
        return {_mm_add_epi32(v, _mm_and_si128(_mm_castps_si128(m.bits), b.v))};
    }
    [[gnu::always_inline]] friend IntLanes operator+(IntLanes a, IntLanes b) {
        return {_mm_add_epi32(a.v, b.v)};
    }
    [[gnu::always_inline]] friend IntLanes operator-(IntLanes a, IntLanes b) {
        return {_mm_sub_epi32(a.v, b.v)};
    }
    [[gnu::always_inline]] friend Mask operator<(IntLanes a, IntLanes b) {
        return {_mm_castsi128_ps(_mm_cmplt_epi32(a.v, b.v))};
    }
    [[gnu::always_inline]] friend Mask operator>(IntLanes a, IntLanes b) {
        return {_mm_castsi128_ps(_mm_cmpgt_epi32(a.v, b.v))};
    }
    [[gnu::always_inline]] friend Mask operator==(IntLanes a, IntLanes b) {
        return {_mm_castsi128_ps(_mm_cmpeq_epi32(a.v, b.v))};
    }
};

template <>
struct DoubleLanes<2> {
    __m128d v;
    [[gnu::always_inline]] static DoubleLanes fill(double x) { return {_mm_set1_pd(x)}; }
    [[gnu::always_inline]] friend DoubleLanes operator+(DoubleLanes a, DoubleLanes b) {
        return {_mm_add_pd(a.v, b.v)};
    }
    [[gnu::always_inline]] friend DoubleLanes operator-(DoubleLanes a, DoubleLanes b) {
        return {_mm_sub_pd(a.v, b.v)};
    }
    [[gnu::always_inline]] friend DoubleLanes operator*(DoubleLanes a, DoubleLanes b) {
        return {_mm_mul_pd(a.v, b.v)};
    }
};

template <>
struct FloatLanes<4> {
    using Mask = LaneMask<4>;
    using Ints = IntLanes<4>;
    using Half = DoubleLanes<2>;
    __m128 v;
    [[gnu::always_inline]] static FloatLanes load(const float* p) { return {_mm_loadu_ps(p)}; }
    [[gnu::always_inline]] void store(float* p) const { _mm_storeu_ps(p, v); }
    [[gnu::always_inline]] static FloatLanes fill(float x) { return {_mm_set1_ps(x)}; }
    [[gnu::always_inline]] static FloatLanes zero() { return {_mm_setzero_ps()}; }
    [[gnu::always_inline]] static FloatLanes from(Ints i) { return {_mm_cvtepi32_ps(i.v)}; }
    // Rounded toward zero, as a cast to int.
    [[gnu::always_inline]] Ints truncated() const { return {_mm_cvttps_epi32(v)}; }
    // This minus b in the lanes of m, this elsewhere (this - 0, which is this for the numbers
    // the lane forms take).
    [[gnu::always_inline]] FloatLanes minusWhere(Mask m, FloatLanes b) const {
        return {_mm_sub_ps(v, _mm_and_ps(m.bits, b.v))};
    }
    [[gnu::always_inline]] Half widenLow() const { return {_mm_cvtps_pd(v)}; }
    [[gnu::always_inline]] Half widenHigh() const { return {_mm_cvtps_pd(_mm_movehl_ps(v, v))}; }
    // Each lane rounded to float: low's lanes first, then high's.
    [[gnu::always_inline]] static FloatLanes narrow(Half low, Half high) {
        return {_mm_movelh_ps(_mm_cvtpd_ps(low.v), _mm_cvtpd_ps(high.v))};
    }
    [[gnu::always_inline]] friend FloatLanes operator+(FloatLanes a, FloatLanes b) {
        return {_mm_add_ps(a.v, b.v)};
    }
    [[gnu::always_inline]] friend FloatLanes operator-(FloatLanes a, FloatLanes b) {
        return {_mm_sub_ps(a.v, b.v)};
    }
    [[gnu::always_inline]] friend FloatLanes operator*(FloatLanes a, FloatLanes b) {
        return {_mm_mul_ps(a.v, b.v)};
    }
    [[gnu::always_inline]] friend Mask operator<(FloatLanes a, FloatLanes b) {
        return {_mm_cmplt_ps(a.v, b.v)};
    }
    [[gnu::always_inline]] friend Mask operator>(FloatLanes a, FloatLanes b) {
        return {_mm_cmpgt_ps(a.v, b.v)};
    }
    [[gnu::always_inline]] friend Mask operator>=(FloatLanes a, FloatLanes b) {
        return {_mm_cmpge_ps(a.v, b.v)};
    }

    // Eight slots from start on; pick(offset) gives lane k the slots offset[k] (0 to 6) and the
    // one after. SSE2 has no lane shuffle by index, so each lane is loaded by itself.
    using Pair = LanePair<FloatLanes>;
    static constexpr bool kPicksLikeLoads = false;
    struct Window {
        const float* start;
        [[gnu::always_inline]] static Window at(const float* start) { return {start}; }
        [[gnu::always_inline]] Pair pick(Ints offset) const {
            alignas(16) int at[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(at), offset.v);
            const float* next = start + 1;
            return {{_mm_setr_ps(start[at[0]], start[at[1]], start[at[2]], start[at[3]])},
                    {_mm_setr_ps(next[at[0]], next[at[1]], next[at[2]], next[at[3]])}};
        }
    };
};
#endif

#if OSTRANA_X86_64_LANES
#define OSTRANA_LANES_AVX2 gnu::target("avx2")
#define OSTRANA_LANES_AVX512 gnu::target("avx512f")

template <>
inline constexpr bool kLanesBuilt<8> = true;
template <>
inline constexpr bool kLanesBuilt<16> = true;

template <>
struct LaneMask<8> {
    __m256 bits;
    [[OSTRANA_LANES_AVX2]] bool all() const { return _mm256_movemask_ps(bits) == 0xFF; }
    [[OSTRANA_LANES_AVX2]] LaneMask except(LaneMask other) const {
        return {_mm256_andnot_ps(other.bits, bits)};
    }
    [[OSTRANA_LANES_AVX2]] friend LaneMask operator&(LaneMask a, LaneMask b) {
        return {_mm256_and_ps(a.bits, b.bits)};
    }
};

template <>
struct IntLanes<8> {
    using Mask = LaneMask<8>;
    __m256i v;
    [[OSTRANA_LANES_AVX2]] static IntLanes fill(int x) { return {_mm256_set1_epi32(x)}; }
    [[OSTRANA_LANES_AVX2]] static IntLanes zero() { return {_mm256_setzero_si256()}; }
    [[OSTRANA_LANES_AVX2]] static IntLanes ramp() {
        return {_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)};
    }
    [[OSTRANA_LANES_AVX2]] int firstLane() const {
        return _mm_cvtsi128_si32(_mm256_castsi256_si128(v));
    }
    [[OSTRANA_LANES_AVX2]] IntLanes plusWhere(Mask m, IntLanes b) const {
        return {_mm256_add_epi32(v, _mm256_and_si256(_mm256_castps_si256(m.bits), b.v))};
    }
    [[OSTRANA_LANES_AVX2]] friend IntLanes operator+(IntLanes a, IntLanes b) {
        return {_mm256_add_epi32(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend IntLanes operator-(IntLanes a, IntLanes b) {
        return {_mm256_sub_epi32(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend Mask operator<(IntLanes a, IntLanes b) {
        return {_mm256_castsi256_ps(_mm256_cmpgt_epi32(b.v, a.v))};
    }
    [[OSTRANA_LANES_AVX2]] friend Mask operator>(IntLanes a, IntLanes b) {
        return {_mm256_castsi256_ps(_mm256_cmpgt_epi32(a.v, b.v))};
    }
    [[OSTRANA_LANES_AVX2]] friend Mask operator==(IntLanes a, IntLanes b) {
        return {_mm256_castsi256_ps(_mm256_cmpeq_epi32(a.v, b.v))};
    }
};

template <>
struct DoubleLanes<4> {
    __m256d v;
    [[OSTRANA_LANES_AVX2]] static DoubleLanes fill(double x) { return {_mm256_set1_pd(x)}; }
    [[OSTRANA_LANES_AVX2]] friend DoubleLanes operator+(DoubleLanes a, DoubleLanes b) {
        return {_mm256_add_pd(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend DoubleLanes operator-(DoubleLanes a, DoubleLanes b) {
        return {_mm256_sub_pd(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend DoubleLanes operator*(DoubleLanes a, DoubleLanes b) {
        return {_mm256_mul_pd(a.v, b.v)};
    }
};

template <>
struct FloatLanes<8> {
    using Mask = LaneMask<8>;
    using Ints = IntLanes<8>;
    using Half = DoubleLanes<4>;
    __m256 v;
    [[OSTRANA_LANES_AVX2]] static FloatLanes load(const float* p) { return {_mm256_loadu_ps(p)}; }
    [[OSTRANA_LANES_AVX2]] void store(float* p) const { _mm256_storeu_ps(p, v); }
    [[OSTRANA_LANES_AVX2]] static FloatLanes fill(float x) { return {_mm256_set1_ps(x)}; }
    [[OSTRANA_LANES_AVX2]] static FloatLanes zero() { return {_mm256_setzero_ps()}; }
    [[OSTRANA_LANES_AVX2]] static FloatLanes from(Ints i) { return {_mm256_cvtepi32_ps(i.v)}; }
    [[OSTRANA_LANES_AVX2]] Ints truncated() const { return {_mm256_cvttps_epi32(v)}; }
    [[OSTRANA_LANES_AVX2]] FloatLanes minusWhere(Mask m, FloatLanes b) const {
        return {_mm256_sub_ps(v, _mm256_and_ps(m.bits, b.v))};
    }
    [[OSTRANA_LANES_AVX2]] Half widenLow() const {
        return {_mm256_cvtps_pd(_mm256_castps256_ps128(v))};
    }
    [[OSTRANA_LANES_AVX2]] Half widenHigh() const {
        return {_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1))};
    }
    [[OSTRANA_LANES_AVX2]] static FloatLanes narrow(Half low, Half high) {
        return {_mm256_set_m128(_mm256_cvtpd_ps(high.v), _mm256_cvtpd_ps(low.v))};
    }
    [[OSTRANA_LANES_AVX2]] friend FloatLanes operator+(FloatLanes a, FloatLanes b) {
        return {_mm256_add_ps(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend FloatLanes operator-(FloatLanes a, FloatLanes b) {
        return {_mm256_sub_ps(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend FloatLanes operator*(FloatLanes a, FloatLanes b) {
        return {_mm256_mul_ps(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX2]] friend Mask operator<(FloatLanes a, FloatLanes b) {
        return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)};
    }
    [[OSTRANA_LANES_AVX2]] friend Mask operator>(FloatLanes a, FloatLanes b) {
        return {_mm256_cmp_ps(a.v, b.v, _CMP_GT_OQ)};
    }
    [[OSTRANA_LANES_AVX2]] friend Mask operator>=(FloatLanes a, FloatLanes b) {
        return {_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)};
    }

    // Sixteen slots from start on, as two registers; pick(offset) shuffles each lane's slot
    // (0 to 14), and the one after, out of the register that holds it: two shuffles and a blend.
    using Pair = LanePair<FloatLanes>;
    static constexpr bool kPicksLikeLoads = false;
    struct Window {
        __m256 low;
        __m256 high;
        [[OSTRANA_LANES_AVX2]] static Window at(const float* start) {
            return {_mm256_loadu_ps(start), _mm256_loadu_ps(start + 8)};
        }
        [[OSTRANA_LANES_AVX2]] Pair pick(Ints offset) const {
            return {pickOne(offset.v), pickOne(_mm256_add_epi32(offset.v, _mm256_set1_epi32(1)))};
        }
        [[OSTRANA_LANES_AVX2]] FloatLanes pickOne(__m256i offset) const {
            return {_mm256_blendv_ps(
                _mm256_permutevar8x32_ps(low, offset), _mm256_permutevar8x32_ps(high, offset),
                _mm256_castsi256_ps(_mm256_cmpgt_epi32(offset, _mm256_set1_epi32(7))))};
        }
    };
};

// GCC 12's AVX-512 intrinsics initialise their placeholder operands from themselves, which
// -Wuninitialized and -Wmaybe-uninitialized report wherever they are inlined (fixed in later
// GCC); nothing here reads an uninitialised value.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)  // a GCC warning; Clang (the fuzzers) has no such group
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

template <>
struct LaneMask<16> {
    __mmask16 bits;
    [[OSTRANA_LANES_AVX512]] bool all() const { return bits == 0xFFFF; }
    [[OSTRANA_LANES_AVX512]] LaneMask except(LaneMask other) const {
        return {static_cast<__mmask16>(bits & ~other.bits)};
    }
    [[OSTRANA_LANES_AVX512]] friend LaneMask operator&(LaneMask a, LaneMask b) {
        return {static_cast<__mmask16>(a.bits & b.bits)};
    }
};

template <>
struct IntLanes<16> {
    using Mask = LaneMask<16>;
    __m512i v;
    [[OSTRANA_LANES_AVX512]] static IntLanes fill(int x) { return {_mm512_set1_epi32(x)}; }
    [[OSTRANA_LANES_AVX512]] static IntLanes zero() { return {_mm512_setzero_si512()}; }
    [[OSTRANA_LANES_AVX512]] static IntLanes ramp() {
        return {_mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)};
    }
    [[OSTRANA_LANES_AVX512]] int firstLane() const {
        return _mm_cvtsi128_si32(_mm512_castsi512_si128(v));
    }
    [[OSTRANA_LANES_AVX512]] IntLanes plusWhere(Mask m, IntLanes b) const {
        return {_mm512_mask_add_epi32(v, m.bits, v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend IntLanes operator+(IntLanes a, IntLanes b) {
        return {_mm512_add_epi32(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend IntLanes operator-(IntLanes a, IntLanes b) {
        return {_mm512_sub_epi32(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend Mask operator<(IntLanes a, IntLanes b) {
        return {_mm512_cmp_epi32_mask(a.v, b.v, _MM_CMPINT_LT)};
    }
    [[OSTRANA_LANES_AVX512]] friend Mask operator>(IntLanes a, IntLanes b) {
        return {_mm512_cmp_epi32_mask(a.v, b.v, _MM_CMPINT_NLE)};
    }
    [[OSTRANA_LANES_AVX512]] friend Mask operator==(IntLanes a, IntLanes b) {
        return {_mm512_cmp_epi32_mask(a.v, b.v, _MM_CMPINT_EQ)};
    }
};

template <>
struct DoubleLanes<8> {
    __m512d v;
    [[OSTRANA_LANES_AVX512]] static DoubleLanes fill(double x) { return {_mm512_set1_pd(x)}; }
    [[OSTRANA_LANES_AVX512]] friend DoubleLanes operator+(DoubleLanes a, DoubleLanes b) {
        return {_mm512_add_pd(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend DoubleLanes operator-(DoubleLanes a, DoubleLanes b) {
        return {_mm512_sub_pd(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend DoubleLanes operator*(DoubleLanes a, DoubleLanes b) {
        return {_mm512_mul_pd(a.v, b.v)};
    }
};

template <>
struct FloatLanes<16> {
    using Mask = LaneMask<16>;
    using Ints = IntLanes<16>;
    using Half = DoubleLanes<8>;
    __m512 v;
    [[OSTRANA_LANES_AVX512]] static FloatLanes load(const float* p) { return {_mm512_loadu_ps(p)}; }
    [[OSTRANA_LANES_AVX512]] void store(float* p) const { _mm512_storeu_ps(p, v); }
    [[OSTRANA_LANES_AVX512]] static FloatLanes fill(float x) { return {_mm512_set1_ps(x)}; }
    [[OSTRANA_LANES_AVX512]] static FloatLanes zero() { return {_mm512_setzero_ps()}; }
    [[OSTRANA_LANES_AVX512]] static FloatLanes from(Ints i) { return {_mm512_cvtepi32_ps(i.v)}; }
    [[OSTRANA_LANES_AVX512]] Ints truncated() const { return {_mm512_cvttps_epi32(v)}; }
    [[OSTRANA_LANES_AVX512]] FloatLanes minusWhere(Mask m, FloatLanes b) const {
        return {_mm512_mask_sub_ps(v, m.bits, v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] Half widenLow() const {
        return {_mm512_cvtps_pd(_mm512_castps512_ps256(v))};
    }
    [[OSTRANA_LANES_AVX512]] Half widenHigh() const {
        return {_mm512_cvtps_pd(_mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1)))};
    }
    [[OSTRANA_LANES_AVX512]] static FloatLanes narrow(Half low, Half high) {
        return {_mm512_castpd_ps(
            _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_castps_pd(_mm512_cvtpd_ps(low.v))),
                               _mm256_castps_pd(_mm512_cvtpd_ps(high.v)), 1))};
    }
    [[OSTRANA_LANES_AVX512]] friend FloatLanes operator+(FloatLanes a, FloatLanes b) {
        return {_mm512_add_ps(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend FloatLanes operator-(FloatLanes a, FloatLanes b) {
        return {_mm512_sub_ps(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend FloatLanes operator*(FloatLanes a, FloatLanes b) {
        return {_mm512_mul_ps(a.v, b.v)};
    }
    [[OSTRANA_LANES_AVX512]] friend Mask operator<(FloatLanes a, FloatLanes b) {
        return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OQ)};
    }
    [[OSTRANA_LANES_AVX512]] friend Mask operator>(FloatLanes a, FloatLanes b) {
        return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GT_OQ)};
    }
    [[OSTRANA_LANES_AVX512]] friend Mask operator>=(FloatLanes a, FloatLanes b) {
        return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GE_OQ)};
    }

    // Thirty-two slots from start on, as two registers; pick(offset) takes each lane's slot
    // (0 to 30), and the one after, out of either, in one instruction each.
    using Pair = LanePair<FloatLanes>;
    static constexpr bool kPicksLikeLoads = true;
    struct Window {
        __m512 low;
        __m512 high;
        [[OSTRANA_LANES_AVX512]] static Window at(const float* start) {
            return {_mm512_loadu_ps(start), _mm512_loadu_ps(start + 16)};
        }
        [[OSTRANA_LANES_AVX512]] Pair pick(Ints offset) const {
            return {{_mm512_permutex2var_ps(low, offset.v, high)},
                    {_mm512_permutex2var_ps(low, _mm512_add_epi32(offset.v, _mm512_set1_epi32(1)),
                                            high)}};
        }
    };
};

#pragma GCC diagnostic pop

#undef OSTRANA_LANES_AVX2
#undef OSTRANA_LANES_AVX512
#endif

}  // namespace ostrana::audio
