#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include <ostrana/audio/LaneChoice.h>
#include <ostrana/audio/VectorSine.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace ostrana::audio {

namespace {

// Why a lane that is not flagged equals glibc's sinf: sinf's documented error is below 0.56
// units in the last place (ulp), so it may return either neighbour of the exact value only
// when the exact value lies within 0.06 ulp of the midpoint between them; farther away, only
// the nearer float is within 0.56 ulp, and sinf must return it, which is the correctly rounded
// value. Our double evaluation differs from the exact value by less than 1e-12 relative
// (reduction and polynomial together; the polynomial alone 3e-13 by the fitting script), far
// below 1e-4 ulp. A result farther than kBand = 0.08 ulp from every midpoint is therefore more
// than 0.06 ulp away for the exact value too, with a margin of about 0.02 ulp, and rounding it
// gives sinf's answer. Lanes within the band go to sinf.
constexpr double kBand = 0.08;
// |x| below this (and non-finite or large x) go to sinf: sin(x) rounds to x or to its
// neighbour there, and the relative band test is not needed for so few values.
constexpr float kSmallest = 1.0f / 4096.0f;
constexpr float kLargest = 8.0f;

// pi in two parts: kPiHigh is pi rounded to double, whose last three bits are clear, so
// n * kPiHigh is exact for the |n| <= 3 that |x| < 8 gives; kPiLow is pi - kPiHigh.
constexpr double kPiHigh = 3.141592653589793;
constexpr double kPiLow = 1.2246467991473532e-16;
constexpr double kInversePi = 0.31830988618379067;

// Q(t) of sin(r) = r * (1 + t * Q(t)), t = r * r, |r| <= pi / 2, lowest degree first, from
// scripts/fit-sine-polynomial.py 5 (largest relative error 3.1e-13).
constexpr double kQ0 = -0.16666666666658467;
constexpr double kQ1 = 0.008333333330940365;
constexpr double kQ2 = -0.0001984126870905615;
constexpr double kQ3 = 2.755712317437327e-06;
constexpr double kQ4 = -2.5036745008428295e-08;
constexpr double kQ5 = 1.550250902793809e-10;

// The double result's float, or a flag that sinf must decide: NaN is the flag (no lane that
// is evaluated here can give NaN).
float roundOrFlag(double y) {
    const float f = static_cast<float>(y);
    const double magnitude = std::fabs(y);
    const float fMagnitude = std::fabs(f);
    std::uint32_t bits;
    std::memcpy(&bits, &fMagnitude, sizeof bits);
    const std::uint32_t upBits = bits + 1;
    const std::uint32_t downBits = bits - 1;
    float up;
    float down;
    std::memcpy(&up, &upBits, sizeof up);
    std::memcpy(&down, &downBits, sizeof down);
    // The midpoints on either side, exact in double.
    const double upMid = (static_cast<double>(fMagnitude) + static_cast<double>(up)) * 0.5;
    const double downMid = (static_cast<double>(fMagnitude) + static_cast<double>(down)) * 0.5;
    const double upUlp = static_cast<double>(up) - static_cast<double>(fMagnitude);
    const double downUlp = static_cast<double>(fMagnitude) - static_cast<double>(down);
    const bool nearMidpoint = std::fabs(magnitude - upMid) < kBand * upUlp ||
                              std::fabs(magnitude - downMid) < kBand * downUlp;
    return nearMidpoint ? NAN : f;
}

// One lane in double: the value, or NaN when sinf must decide.
float scalarLane(float x) {
    const float magnitude = std::fabs(x);
    if (!(magnitude >= kSmallest && magnitude < kLargest)) return NAN;
    const double d = x;
    const double n = std::nearbyint(d * kInversePi);
    const double r = (d - n * kPiHigh) - n * kPiLow;
    const double t = r * r;
    const double q = ((((kQ5 * t + kQ4) * t + kQ3) * t + kQ2) * t + kQ1) * t + kQ0;
    double y = r * (1.0 + t * q);
    if (static_cast<long>(n) % 2 != 0) y = -y;
    return roundOrFlag(y);
}

#if defined(__x86_64__)
// Four lanes in double with AVX2: the same operations as scalarLane, in the same order.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d polynomialOf(__m128 x) {
    const __m256d d = _mm256_cvtps_pd(x);
    const __m256d n = _mm256_round_pd(_mm256_mul_pd(d, _mm256_set1_pd(kInversePi)),
                                      _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    const __m256d r = _mm256_sub_pd(_mm256_sub_pd(d, _mm256_mul_pd(n, _mm256_set1_pd(kPiHigh))),
                                    _mm256_mul_pd(n, _mm256_set1_pd(kPiLow)));
    const __m256d t = _mm256_mul_pd(r, r);
    __m256d q = _mm256_add_pd(_mm256_mul_pd(_mm256_set1_pd(kQ5), t), _mm256_set1_pd(kQ4));
    q = _mm256_add_pd(_mm256_mul_pd(q, t), _mm256_set1_pd(kQ3));
    q = _mm256_add_pd(_mm256_mul_pd(q, t), _mm256_set1_pd(kQ2));
    q = _mm256_add_pd(_mm256_mul_pd(q, t), _mm256_set1_pd(kQ1));
    q = _mm256_add_pd(_mm256_mul_pd(q, t), _mm256_set1_pd(kQ0));
    __m256d y = _mm256_mul_pd(r, _mm256_add_pd(_mm256_set1_pd(1.0), _mm256_mul_pd(t, q)));
    // An odd n flips the sign: its lowest bit, moved to the sign bit.
    const __m128i ni = _mm256_cvtpd_epi32(n);
    const __m256i odd =
        _mm256_slli_epi64(_mm256_cvtepi32_epi64(_mm_and_si128(ni, _mm_set1_epi32(1))), 63);
    y = _mm256_xor_pd(y, _mm256_castsi256_pd(odd));
    return y;
}

// Eight lanes: out gets the rounded value, or NaN where sinf must decide.
//
// The band test, four doubles at a time: f = (float)y, and the gap |y - f| (exact in double)
// against the spacing of floats at f, u = 2^(exponent of f - 23), formed from f's bits. y is
// within kBand of a midpoint when the gap exceeds (0.5 - kBand) * u. Below a power of two the
// spacing halves, so a power-of-two f (zero mantissa) is always flagged, as is a tiny one.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d nearMidpoint(__m256d y, __m128 f,
                                                                        __m128 spacing) {
    const __m256d absMask = _mm256_castsi256_pd(_mm256_set1_epi64x(0x7fffffffffffffffLL));
    const __m256d gap = _mm256_and_pd(_mm256_sub_pd(y, _mm256_cvtps_pd(f)), absMask);
    const __m256d limit = _mm256_mul_pd(_mm256_cvtps_pd(spacing), _mm256_set1_pd(0.5 - kBand));
    return _mm256_cmp_pd(gap, limit, _CMP_GT_OQ);
}

[[gnu::target("avx2")]] void eightLanes(const float* x, float* out) {
    const __m256 v = _mm256_loadu_ps(x);
    const __m256d low = polynomialOf(_mm256_castps256_ps128(v));
    const __m256d high = polynomialOf(_mm256_extractf128_ps(v, 1));
    const __m128 fLow = _mm256_cvtpd_ps(low);
    const __m128 fHigh = _mm256_cvtpd_ps(high);
    const __m256 f = _mm256_set_m128(fHigh, fLow);
    // The spacing of floats at |f|: its exponent field less 23, as a float; and whether f's
    // mantissa is zero (a power of two, or zero).
    const __m256i bits = _mm256_castps_si256(f);
    const __m256i exponent = _mm256_and_si256(bits, _mm256_set1_epi32(0x7f800000));
    const __m256 spacing =
        _mm256_castsi256_ps(_mm256_sub_epi32(exponent, _mm256_set1_epi32(23 << 23)));
    const __m256i mantissa = _mm256_and_si256(bits, _mm256_set1_epi32(0x007fffff));
    const __m256 powerOfTwo =
        _mm256_castsi256_ps(_mm256_cmpeq_epi32(mantissa, _mm256_setzero_si256()));
    const __m256d nearLow = nearMidpoint(low, fLow, _mm256_castps256_ps128(spacing));
    const __m256d nearHigh = nearMidpoint(high, fHigh, _mm256_extractf128_ps(spacing, 1));
    // The double masks narrowed to floats: all-ones (a negative NaN) stays negative, zero stays
    // zero, and blendv looks at the sign bit only.
    const __m256 near = _mm256_set_m128(_mm256_cvtpd_ps(nearHigh), _mm256_cvtpd_ps(nearLow));
    // Lanes outside kSmallest <= |x| < kLargest (NaN included) are flagged too; there |f| is at
    // least about 2^-12, so its spacing above is a normal float.
    const __m256 absMask = _mm256_castsi256_ps(_mm256_set1_epi32(0x7fffffff));
    const __m256 xAbs = _mm256_and_ps(v, absMask);
    const __m256 inRange = _mm256_and_ps(_mm256_cmp_ps(xAbs, _mm256_set1_ps(kSmallest), _CMP_GE_OQ),
                                         _mm256_cmp_ps(xAbs, _mm256_set1_ps(kLargest), _CMP_LT_OQ));
    const __m256 outOfRange = _mm256_andnot_ps(inRange, _mm256_castsi256_ps(_mm256_set1_epi32(-1)));
    const __m256 flagged = _mm256_or_ps(_mm256_or_ps(near, powerOfTwo), outOfRange);
    _mm256_storeu_ps(out, _mm256_blendv_ps(f, _mm256_set1_ps(NAN), flagged));
}

// Thirty-two lanes: eightLanes four times, each step done for all eight double chains
// before the next, so that their latencies overlap instead of adding up.
[[gnu::target("avx2")]] void thirtyTwoLanes(const float* x, float* out) {
    constexpr int kChains = 8;
    __m256d d[kChains];
    for (int k = 0; k < 4; ++k) {
        const __m256 v = _mm256_loadu_ps(x + 8 * k);
        d[2 * k] = _mm256_cvtps_pd(_mm256_castps256_ps128(v));
        d[2 * k + 1] = _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1));
    }
    __m256d n[kChains];
    __m256d r[kChains];
    __m256d t[kChains];
    __m256d q[kChains];
#pragma GCC unroll 8
    for (int j = 0; j < kChains; ++j) {
        n[j] = _mm256_round_pd(_mm256_mul_pd(d[j], _mm256_set1_pd(kInversePi)),
                               _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    }
#pragma GCC unroll 8
    for (int j = 0; j < kChains; ++j) {
        r[j] = _mm256_sub_pd(_mm256_sub_pd(d[j], _mm256_mul_pd(n[j], _mm256_set1_pd(kPiHigh))),
                             _mm256_mul_pd(n[j], _mm256_set1_pd(kPiLow)));
        t[j] = _mm256_mul_pd(r[j], r[j]);
        q[j] = _mm256_add_pd(_mm256_mul_pd(_mm256_set1_pd(kQ5), t[j]), _mm256_set1_pd(kQ4));
    }
    for (const double c : {kQ3, kQ2, kQ1, kQ0}) {
#pragma GCC unroll 8
        for (int j = 0; j < kChains; ++j) {
            q[j] = _mm256_add_pd(_mm256_mul_pd(q[j], t[j]), _mm256_set1_pd(c));
        }
    }
    __m128 f[kChains];
    __m256d near[kChains];
#pragma GCC unroll 8
    for (int j = 0; j < kChains; ++j) {
        __m256d y =
            _mm256_mul_pd(r[j], _mm256_add_pd(_mm256_set1_pd(1.0), _mm256_mul_pd(t[j], q[j])));
        const __m128i ni = _mm256_cvtpd_epi32(n[j]);
        const __m256i odd =
            _mm256_slli_epi64(_mm256_cvtepi32_epi64(_mm_and_si128(ni, _mm_set1_epi32(1))), 63);
        y = _mm256_xor_pd(y, _mm256_castsi256_pd(odd));
        f[j] = _mm256_cvtpd_ps(y);
        const __m128i bits = _mm_castps_si128(f[j]);
        const __m128 spacing = _mm_castsi128_ps(_mm_sub_epi32(
            _mm_and_si128(bits, _mm_set1_epi32(0x7f800000)), _mm_set1_epi32(23 << 23)));
        near[j] = nearMidpoint(y, f[j], spacing);
    }
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
        const __m256 v = _mm256_loadu_ps(x + 8 * k);
        const __m256 value = _mm256_set_m128(f[2 * k + 1], f[2 * k]);
        const __m256i bits = _mm256_castps_si256(value);
        const __m256 powerOfTwo = _mm256_castsi256_ps(_mm256_cmpeq_epi32(
            _mm256_and_si256(bits, _mm256_set1_epi32(0x007fffff)), _mm256_setzero_si256()));
        const __m256 nearAll =
            _mm256_set_m128(_mm256_cvtpd_ps(near[2 * k + 1]), _mm256_cvtpd_ps(near[2 * k]));
        const __m256 xAbs = _mm256_and_ps(v, _mm256_castsi256_ps(_mm256_set1_epi32(0x7fffffff)));
        const __m256 inRange =
            _mm256_and_ps(_mm256_cmp_ps(xAbs, _mm256_set1_ps(kSmallest), _CMP_GE_OQ),
                          _mm256_cmp_ps(xAbs, _mm256_set1_ps(kLargest), _CMP_LT_OQ));
        const __m256 outOfRange =
            _mm256_andnot_ps(inRange, _mm256_castsi256_ps(_mm256_set1_epi32(-1)));
        const __m256 flagged = _mm256_or_ps(_mm256_or_ps(nearAll, powerOfTwo), outOfRange);
        _mm256_storeu_ps(out + 8 * k, _mm256_blendv_ps(value, _mm256_set1_ps(NAN), flagged));
    }
}

// GCC 12's AVX-512 intrinsics initialise their placeholder operands from themselves, which
// -Wuninitialized reports wherever they are inlined (fixed in later GCC); nothing here reads
// an uninitialised value.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
// Thirty-two lanes with AVX-512F: four chains of eight doubles, the same operations as
// scalarLane in the same order, so every lane gives what the AVX2 and scalar forms give, in
// half the instructions of thirtyTwoLanes.
[[gnu::target("avx512f")]] void thirtyTwoWideLanes(const float* x, float* out) {
    constexpr int kChains = 4;
    __m512d r[kChains];
    __m512d t[kChains];
    __m512d q[kChains];
    __m512i odd[kChains];
#pragma GCC unroll 4
    for (int j = 0; j < kChains; ++j) {
        const __m512d d = _mm512_cvtps_pd(_mm256_loadu_ps(x + 8 * j));
        const __m512d n = _mm512_roundscale_pd(_mm512_mul_pd(d, _mm512_set1_pd(kInversePi)),
                                               _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        r[j] = _mm512_sub_pd(_mm512_sub_pd(d, _mm512_mul_pd(n, _mm512_set1_pd(kPiHigh))),
                             _mm512_mul_pd(n, _mm512_set1_pd(kPiLow)));
        t[j] = _mm512_mul_pd(r[j], r[j]);
        q[j] = _mm512_add_pd(_mm512_mul_pd(_mm512_set1_pd(kQ5), t[j]), _mm512_set1_pd(kQ4));
        // An odd n flips the sign: its lowest bit, moved to the sign bit.
        const __m256i ni = _mm512_cvtpd_epi32(n);
        odd[j] = _mm512_slli_epi64(
            _mm512_cvtepi32_epi64(_mm256_and_si256(ni, _mm256_set1_epi32(1))), 63);
    }
    for (const double c : {kQ3, kQ2, kQ1, kQ0}) {
#pragma GCC unroll 4
        for (int j = 0; j < kChains; ++j) {
            q[j] = _mm512_add_pd(_mm512_mul_pd(q[j], t[j]), _mm512_set1_pd(c));
        }
    }
    __m256 f[kChains];
    unsigned int near[kChains];
#pragma GCC unroll 4
    for (int j = 0; j < kChains; ++j) {
        const __m512d unsignedY =
            _mm512_mul_pd(r[j], _mm512_add_pd(_mm512_set1_pd(1.0), _mm512_mul_pd(t[j], q[j])));
        const __m512d y =
            _mm512_castsi512_pd(_mm512_xor_si512(_mm512_castpd_si512(unsignedY), odd[j]));
        f[j] = _mm512_cvtpd_ps(y);
        // nearMidpoint's test: the gap |y - f| against (0.5 - kBand) times the spacing of
        // floats at f, formed from f's exponent field.
        const __m256i bits = _mm256_castps_si256(f[j]);
        const __m256 spacing = _mm256_castsi256_ps(_mm256_sub_epi32(
            _mm256_and_si256(bits, _mm256_set1_epi32(0x7f800000)), _mm256_set1_epi32(23 << 23)));
        const __m512d gap = _mm512_abs_pd(_mm512_sub_pd(y, _mm512_cvtps_pd(f[j])));
        const __m512d limit = _mm512_mul_pd(_mm512_cvtps_pd(spacing), _mm512_set1_pd(0.5 - kBand));
        near[j] = _mm512_cmp_pd_mask(gap, limit, _CMP_GT_OQ);
    }
#pragma GCC unroll 2
    for (int k = 0; k < 2; ++k) {
        const __m512 value = _mm512_castpd_ps(_mm512_insertf64x4(
            _mm512_castpd256_pd512(_mm256_castps_pd(f[2 * k])), _mm256_castps_pd(f[2 * k + 1]), 1));
        const __mmask16 nearAll = static_cast<__mmask16>(near[2 * k] | (near[2 * k + 1] << 8));
        // A power of two (zero mantissa) is flagged, as in eightLanes; so are lanes outside
        // kSmallest <= |x| < kLargest, NaN included.
        const __mmask16 powerOfTwo =
            _mm512_testn_epi32_mask(_mm512_castps_si512(value), _mm512_set1_epi32(0x007fffff));
        const __m512 xAbs = _mm512_abs_ps(_mm512_loadu_ps(x + 16 * k));
        const __mmask16 inRange = _mm512_cmp_ps_mask(xAbs, _mm512_set1_ps(kSmallest), _CMP_GE_OQ) &
                                  _mm512_cmp_ps_mask(xAbs, _mm512_set1_ps(kLargest), _CMP_LT_OQ);
        const __mmask16 flagged = static_cast<__mmask16>(nearAll | powerOfTwo | ~inRange);
        _mm512_storeu_ps(out + 16 * k, _mm512_mask_blend_ps(flagged, value, _mm512_set1_ps(NAN)));
    }
}
#pragma GCC diagnostic pop
#endif

// The flagged lanes from sinf itself, in a second pass. NaN marks them; a NaN input is
// flagged too and gets sinf's NaN. Their indices are collected without a branch per lane
// (which lanes are flagged follows no pattern a predictor could learn), then each gets sinf.
void settleFlagged(const float* x, float* out, unsigned int count) {
    constexpr unsigned int kStretch = 256;
    unsigned int flagged[kStretch];
    for (unsigned int start = 0; start < count; start += kStretch) {
        const unsigned int end = count - start < kStretch ? count : start + kStretch;
        unsigned int found = 0;
        for (unsigned int i = start; i < end; ++i) {
            flagged[found] = i;
            found += out[i] != out[i] ? 1u : 0u;
        }
        for (unsigned int k = 0; k < found; ++k) out[flagged[k]] = sinf(x[flagged[k]]);
    }
}

}  // namespace

// The lanes of the widest form the processor has within the limit, then one at a time, then
// sinf for the flagged ones.
void VectorSine::evaluate(const float* x, float* out, unsigned int count) {
    unsigned int i = 0;
#if defined(__x86_64__)
    const unsigned int lanes = LaneChoice::inUse();
    if (lanes >= 16) {
        for (; i + 32 <= count; i += 32) thirtyTwoWideLanes(x + i, out + i);
    }
    if (lanes >= 8) {
        for (; i + 32 <= count; i += 32) thirtyTwoLanes(x + i, out + i);
        for (; i + 8 <= count; i += 8) eightLanes(x + i, out + i);
    }
#endif
    for (; i < count; ++i) out[i] = scalarLane(x[i]);
    settleFlagged(x, out, count);
}

}  // namespace ostrana::audio
