#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include <ostrana/audio/LaneChoice.h>
#include <ostrana/audio/VectorSine.h>

#include "audio/LaneTarget.h"

namespace ostrana::audio {

namespace {

// Why a lane that is not flagged equals glibc's sinf. sinf's documented error is below 0.5607
// units in the last place (ulp): it may return either float next to the exact value only when
// the exact value lies within 0.0607 ulp of the midpoint between them; farther away, only the
// nearer float is within 0.5607 ulp, and sinf must return it, which is the correctly rounded
// value. Our double evaluation differs from the exact value by less than 2e-10 relative
// (reduction and polynomial together; the polynomial alone 1.1e-10 by the fitting script),
// which is below 0.004 ulp of a float. A result farther than kBand = 0.08 ulp from every
// midpoint is therefore more than 0.076 ulp away for the exact value, a margin of more than
// 0.015 ulp over what sinf's bound needs, and rounding it gives sinf's answer. Lanes within the
// band go to sinf itself.
//
// The band is tested on the double's bits: for a double y whose float is normal, the 29 bits
// below the float's 23 mantissa bits place y within the interval between two floats of y's
// binade, 2^28 being its midpoint; y is within kBand ulp of it when those bits are within
// kBand * 2^29 of 2^28 (kBandBits, rounded up).
constexpr double kBand = 0.08;
constexpr int kDroppedBits = 29;
constexpr std::int64_t kDroppedMask = (std::int64_t{1} << kDroppedBits) - 1;
constexpr std::int64_t kMidpoint = std::int64_t{1} << (kDroppedBits - 1);
constexpr std::int64_t kBandBits =
    static_cast<std::int64_t>(kBand * static_cast<double>(std::int64_t{1} << kDroppedBits)) + 1;

// Lanes outside kSmallest <= |x| < kLargest go to sinf, NaN and infinities among them: below,
// sin(x) rounds to x or next to it and the relative band test is not needed for so few values;
// above, the reduction below is not made for them. The test is on the bits of |x|, which order
// as the values do.
constexpr std::int32_t kSmallestBits = 0x39800000;  // 2^-12
constexpr std::int32_t kLargestBits = 0x41000000;   // 8
// A result whose float has a mantissa of all zeros or all ones (a power of two, or the float
// below one) goes to sinf too: there the spacing of floats changes, and an ulp could be read
// either side of it.
constexpr std::int32_t kMantissaMask = 0x007fffff;

// pi in two parts: kPiHigh is pi rounded to double, whose last three bits are clear, so
// n * kPiHigh is exact for the |n| <= 3 that |x| < 8 gives, and x - n * kPiHigh is exact too
// (the two lie within a factor of two of each other); kPiLow is pi - kPiHigh.
constexpr double kPiHigh = 3.141592653589793;
constexpr double kPiLow = 1.2246467991473532e-16;
constexpr double kInversePi = 0.31830988618379067;
// Added to x / pi, it leaves the nearest integer n in the low bits of the sum's mantissa (its
// lowest bit says whether n is odd); subtracted again, it leaves n.
[[maybe_unused]] constexpr double kRoundingMagic = 6755399441055744.0;  // 1.5 * 2^52

// Q(t) of sin(r) = r + r * t * Q(t), t = r * r, |r| <= pi / 2, lowest degree first, from
// scripts/fit-sine-polynomial.py 4 (largest relative error 1.1e-10).
constexpr double kQ0 = -0.16666666663881236;
constexpr double kQ1 = 0.008333332768753579;
constexpr double kQ2 = -0.000198410865614788;
constexpr double kQ3 = 2.75364635625748e-06;
constexpr double kQ4 = -2.4080190432969638e-08;

// The indices of one stretch's flagged lanes, with room for a whole group past the last, as the
// lane forms store a group's indices at once.
constexpr unsigned int kStretch = 256;
constexpr unsigned int kWidestGroup = 16;
struct Flagged {
    unsigned int indices[kStretch + kWidestGroup];
    unsigned int count = 0;
};

// One lane in double, without FMA: the value in out, and whether sinf must decide it.
bool scalarLane(float x, float& out) {
    const std::int32_t magnitude = std::bit_cast<std::int32_t>(x) & 0x7fffffff;
    if (magnitude < kSmallestBits || magnitude >= kLargestBits) return true;
    const double d = x;
    const double n = std::nearbyint(d * kInversePi);
    const double r = (d - n * kPiHigh) - n * kPiLow;
    const double t = r * r;
    const double q = (((kQ4 * t + kQ3) * t + kQ2) * t + kQ1) * t + kQ0;
    double y = r + (r * t) * q;
    if (static_cast<long>(n) % 2 != 0) y = -y;
    out = static_cast<float>(y);
    const std::int64_t dropped = std::bit_cast<std::int64_t>(y) & kDroppedMask;
    const std::int64_t distance = dropped > kMidpoint ? dropped - kMidpoint : kMidpoint - dropped;
    const std::int32_t mantissa = std::bit_cast<std::int32_t>(out) & kMantissaMask;
    return distance <= kBandBits || mantissa == 0 || mantissa == kMantissaMask;
}

#if OSTRANA_X86_64_LANES
// The lane forms: each evaluates the same polynomial on the same reduction, with FMA, and
// flags the same kinds of lanes; their doubles may differ from the scalar lane's in the last
// bits, far inside the margin above, and the float of every unflagged lane is sinf's.

// Where the lanes of a group of eight go in the list of flagged indices: for each mask, the
// numbers of its set bits, lowest first, one per byte.
constexpr std::array<std::uint64_t, 256> makeLanePacks() {
    std::array<std::uint64_t, 256> packs{};
    for (unsigned int mask = 0; mask < 256; ++mask) {
        unsigned int filled = 0;
        for (unsigned int lane = 0; lane < 8; ++lane) {
            if ((mask >> lane) & 1u) packs[mask] |= std::uint64_t{lane} << (8 * filled++);
        }
    }
    return packs;
}
constexpr std::array<std::uint64_t, 256> kLanePacks = makeLanePacks();

// sin of four doubles, each reduced by its nearest multiple of pi.
[[gnu::target("avx2,fma"), gnu::always_inline]] inline __m256d sineOf(__m256d d) {
    const __m256d k =
        _mm256_fmadd_pd(d, _mm256_set1_pd(kInversePi), _mm256_set1_pd(kRoundingMagic));
    const __m256d n = _mm256_sub_pd(k, _mm256_set1_pd(kRoundingMagic));
    __m256d r = _mm256_fnmadd_pd(n, _mm256_set1_pd(kPiHigh), d);
    r = _mm256_fnmadd_pd(n, _mm256_set1_pd(kPiLow), r);
    const __m256d t = _mm256_mul_pd(r, r);
    __m256d q = _mm256_fmadd_pd(_mm256_set1_pd(kQ4), t, _mm256_set1_pd(kQ3));
    q = _mm256_fmadd_pd(q, t, _mm256_set1_pd(kQ2));
    q = _mm256_fmadd_pd(q, t, _mm256_set1_pd(kQ1));
    q = _mm256_fmadd_pd(q, t, _mm256_set1_pd(kQ0));
    const __m256d y = _mm256_fmadd_pd(_mm256_mul_pd(r, t), q, r);
    // An odd n flips the sign: the lowest bit of k's mantissa, moved to the sign bit.
    const __m256i sign = _mm256_slli_epi64(_mm256_castpd_si256(k), 63);
    return _mm256_castsi256_pd(_mm256_xor_si256(_mm256_castpd_si256(y), sign));
}

// One bit per lane: the double lies within the band around a midpoint.
[[gnu::target("avx2"), gnu::always_inline]] inline unsigned int nearMidpoint(__m256d y) {
    const __m256i dropped =
        _mm256_and_si256(_mm256_castpd_si256(y), _mm256_set1_epi64x(kDroppedMask));
    const __m256i above =
        _mm256_cmpgt_epi64(dropped, _mm256_set1_epi64x(kMidpoint - kBandBits - 1));
    const __m256i below =
        _mm256_cmpgt_epi64(_mm256_set1_epi64x(kMidpoint + kBandBits + 1), dropped);
    return static_cast<unsigned int>(
        _mm256_movemask_pd(_mm256_castsi256_pd(_mm256_and_si256(above, below))));
}

// Eight lanes: their floats stored, one bit per lane that sinf must decide returned.
[[gnu::target("avx2,fma"), gnu::always_inline]] inline unsigned int eightLanes(const float* x,
                                                                               float* out) {
    const __m256 v = _mm256_loadu_ps(x);
    const __m256d low = sineOf(_mm256_cvtps_pd(_mm256_castps256_ps128(v)));
    const __m256d high = sineOf(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)));
    const __m256 f = _mm256_set_m128(_mm256_cvtpd_ps(high), _mm256_cvtpd_ps(low));
    _mm256_storeu_ps(out, f);
    const __m256i mantissa =
        _mm256_and_si256(_mm256_castps_si256(f), _mm256_set1_epi32(kMantissaMask));
    const __m256i edge =
        _mm256_or_si256(_mm256_cmpeq_epi32(mantissa, _mm256_setzero_si256()),
                        _mm256_cmpeq_epi32(mantissa, _mm256_set1_epi32(kMantissaMask)));
    const __m256i magnitude =
        _mm256_and_si256(_mm256_castps_si256(v), _mm256_set1_epi32(0x7fffffff));
    const __m256i inRange =
        _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(kSmallestBits), magnitude),
                            _mm256_cmpgt_epi32(_mm256_set1_epi32(kLargestBits), magnitude));
    const __m256i flagged = _mm256_or_si256(edge, _mm256_xor_si256(inRange, _mm256_set1_epi32(-1)));
    return static_cast<unsigned int>(_mm256_movemask_ps(_mm256_castsi256_ps(flagged))) |
           nearMidpoint(low) | (nearMidpoint(high) << 4);
}

// The stretch in groups of eight with AVX2, a last short group through a padded copy; the
// flagged lanes' indices appended to flagged.
[[gnu::target("avx2,fma,popcnt")]] void eightLaneStretch(const float* x, float* out,
                                                         unsigned int count, Flagged& flagged) {
    // The count is kept here: stores to the indices could otherwise be the count's own.
    unsigned int found = flagged.count;
    for (unsigned int i = 0; i < count; i += 8) {
        unsigned int mask;
        if (i + 8 <= count) {
            mask = eightLanes(x + i, out + i);
        } else {
            float paddedX[8] = {};
            float paddedOut[8];
            std::memcpy(paddedX, x + i, (count - i) * sizeof(float));
            mask = eightLanes(paddedX, paddedOut) & ((1u << (count - i)) - 1u);
            std::memcpy(out + i, paddedOut, (count - i) * sizeof(float));
        }
        const __m256i packed = _mm256_add_epi32(
            _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(static_cast<long long>(kLanePacks[mask]))),
            _mm256_set1_epi32(static_cast<int>(i)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(flagged.indices + found), packed);
        found += static_cast<unsigned int>(__builtin_popcount(mask));
    }
    flagged.count = found;
}

// GCC 12's AVX-512 intrinsics initialise their placeholder operands from themselves, which
// -Wuninitialized and -Wmaybe-uninitialized report wherever they are inlined (fixed in later
// GCC); nothing here reads an uninitialised value.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)  // a GCC warning; Clang (the fuzzers) has no such group
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

// sineOf for two sets of eight doubles, in place, step by step for both: the two chains of
// dependent operations stand side by side in the instruction stream and overlap.
[[gnu::target("avx512f,fma"), gnu::always_inline]] inline void sinesOf(__m512d (&d)[2]) {
    __m512d k[2];
    __m512d n[2];
    __m512d r[2];
    __m512d t[2];
    __m512d q[2] = {_mm512_set1_pd(kQ4), _mm512_set1_pd(kQ4)};  // Q(t) by Horner from here
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) {
        k[i] = _mm512_fmadd_pd(d[i], _mm512_set1_pd(kInversePi), _mm512_set1_pd(kRoundingMagic));
    }
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) n[i] = _mm512_sub_pd(k[i], _mm512_set1_pd(kRoundingMagic));
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) r[i] = _mm512_fnmadd_pd(n[i], _mm512_set1_pd(kPiHigh), d[i]);
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) r[i] = _mm512_fnmadd_pd(n[i], _mm512_set1_pd(kPiLow), r[i]);
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) t[i] = _mm512_mul_pd(r[i], r[i]);
    for (const double coefficient : {kQ3, kQ2, kQ1, kQ0}) {
#pragma GCC unroll 2
        for (int i = 0; i < 2; ++i) {
            q[i] = _mm512_fmadd_pd(q[i], t[i], _mm512_set1_pd(coefficient));
        }
    }
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) {
        const __m512d y = _mm512_fmadd_pd(_mm512_mul_pd(r[i], t[i]), q[i], r[i]);
        const __m512i sign = _mm512_slli_epi64(_mm512_castpd_si512(k[i]), 63);
        d[i] = _mm512_castsi512_pd(_mm512_xor_si512(_mm512_castpd_si512(y), sign));
    }
}

// One bit per lane: the double lies within the band around a midpoint. The dropped bits are
// the low 29 of each double, so the low halves of the sixteen doubles are tested together: a
// lane is in the band when its dropped bits less the band's lower end, taken unsigned, are at
// most the band's width.
[[gnu::target("avx512f"), gnu::always_inline]] inline __mmask16 nearMidpoint(__m512d low,
                                                                             __m512d high) {
    const __m512i lowHalves =
        _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    const __m512i bits =
        _mm512_permutex2var_epi32(_mm512_castpd_si512(low), lowHalves, _mm512_castpd_si512(high));
    const __m512i dropped = _mm512_and_si512(bits, _mm512_set1_epi32(kDroppedMask));
    const __m512i fromLowerEnd =
        _mm512_sub_epi32(dropped, _mm512_set1_epi32(kMidpoint - kBandBits));
    return _mm512_cmple_epu32_mask(fromLowerEnd, _mm512_set1_epi32(2 * kBandBits));
}

// Sixteen lanes of v: their floats in f, one bit per lane that sinf must decide returned.
[[gnu::target("avx512f,fma"), gnu::always_inline]] inline __mmask16 sixteenLanes(__m512 v,
                                                                                 __m512& f) {
    __m512d halves[2] = {
        _mm512_cvtps_pd(_mm512_castps512_ps256(v)),
        _mm512_cvtps_pd(_mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1)))};
    sinesOf(halves);
    const __m512d low = halves[0];
    const __m512d high = halves[1];
    f = _mm512_castpd_ps(
        _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_castps_pd(_mm512_cvtpd_ps(low))),
                           _mm256_castps_pd(_mm512_cvtpd_ps(high)), 1));
    // Adding 1 turns a mantissa of all ones into zeros (the carry goes to the exponent) and one
    // of zeros into 1: the two are the mantissas that, plus 1, have no bit set above the lowest.
    const __mmask16 edge =
        _mm512_testn_epi32_mask(_mm512_add_epi32(_mm512_castps_si512(f), _mm512_set1_epi32(1)),
                                _mm512_set1_epi32(kMantissaMask - 1));
    const __m512i magnitude =
        _mm512_and_si512(_mm512_castps_si512(v), _mm512_set1_epi32(0x7fffffff));
    const __mmask16 inRange =
        _mm512_cmplt_epu32_mask(_mm512_sub_epi32(magnitude, _mm512_set1_epi32(kSmallestBits)),
                                _mm512_set1_epi32(kLargestBits - kSmallestBits));
    return _kor_mask16(_kor_mask16(nearMidpoint(low, high), edge), _knot_mask16(inRange));
}

// The stretch in groups of sixteen with AVX-512F, the last short group through masked loads
// and stores; the flagged lanes' indices appended to flagged.
[[gnu::target("avx512f,fma,popcnt")]] void sixteenLaneStretch(const float* x, float* out,
                                                              unsigned int count,
                                                              Flagged& flagged) {
    const __m512i lanes = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    unsigned int found = flagged.count;  // kept here, as in eightLaneStretch
    for (unsigned int i = 0; i < count; i += 16) {
        __m512 f;
        __mmask16 mask;
        if (i + 16 <= count) {
            mask = sixteenLanes(_mm512_loadu_ps(x + i), f);
            _mm512_storeu_ps(out + i, f);
        } else {
            const auto valid = static_cast<__mmask16>((1u << (count - i)) - 1u);
            mask = sixteenLanes(_mm512_maskz_loadu_ps(valid, x + i), f) & valid;
            _mm512_mask_storeu_ps(out + i, valid, f);
        }
        // Compressed in a register and stored whole: some processors store a compressed
        // vector to memory slowly.
        const __m512i indices = _mm512_add_epi32(lanes, _mm512_set1_epi32(static_cast<int>(i)));
        _mm512_storeu_si512(flagged.indices + found, _mm512_maskz_compress_epi32(mask, indices));
        found += static_cast<unsigned int>(__builtin_popcount(mask));
    }
    flagged.count = found;
}
#pragma GCC diagnostic pop

// Which lane form the processor has within LaneChoice's limit: 16, 8, or 1 (one by one).
unsigned int sineLanes() {
    const unsigned int lanes = LaneChoice::inUse();
    if (!__builtin_cpu_supports("fma")) return 1;
    if (lanes >= 16) return 16;
    if (lanes >= 8) return 8;
    return 1;
}
#endif

// One stretch of at most kStretch values: every lane in the widest form, then sinf for the
// flagged ones, collected in the first pass.
void evaluateStretch(const float* x, float* out, unsigned int count, unsigned int lanes) {
    Flagged flagged;
#if OSTRANA_X86_64_LANES
    if (lanes == 16) {
        sixteenLaneStretch(x, out, count, flagged);
    } else if (lanes == 8) {
        eightLaneStretch(x, out, count, flagged);
    }
#endif
    if (lanes == 1) {
        for (unsigned int i = 0; i < count; ++i) {
            flagged.indices[flagged.count] = i;
            flagged.count += scalarLane(x[i], out[i]) ? 1u : 0u;
        }
    }
    for (unsigned int k = 0; k < flagged.count; ++k) {
        const unsigned int i = flagged.indices[k];
        out[i] = sinf(x[i]);
    }
}

}  // namespace

void VectorSine::evaluate(const float* x, float* out, unsigned int count) {
#if OSTRANA_X86_64_LANES
    const unsigned int lanes = sineLanes();
#else
    const unsigned int lanes = 1;
#endif
    for (unsigned int start = 0; start < count; start += kStretch) {
        const unsigned int stretch = count - start < kStretch ? count - start : kStretch;
        evaluateStretch(x + start, out + start, stretch, lanes);
    }
}

}  // namespace ostrana::audio
