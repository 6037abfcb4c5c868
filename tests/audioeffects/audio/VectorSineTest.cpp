// The vector sine equals the C library's sinf bit for bit, in every lane width this processor
// runs: on every float in [-8, 8), the oscillators' whole range, and on NaN, infinities, signed
// zeros and subnormals.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <thread>
#include <vector>

#include <ostrana/audio/LaneChoice.h>
#include <ostrana/audio/VectorSine.h>

#include "audioeffects/audio/LaneLimit.h"

namespace {

using ostrana::audio::LaneChoice;
using ostrana::audio::VectorSine;
using ostrana::audiotest::LaneLimit;

// The lane widths the vector sine has: sixteen (AVX-512F), eight (AVX2) and one. A width the
// processor lacks runs as the next narrower one.
constexpr unsigned int kSineWidths[] = {16, 8, 1};

std::uint32_t bitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

#if defined(OSTRANA_SANITIZER_BUILD)
TEST(VectorSine, EqualsSinfOnEveryFloatBelowEight) {
    GTEST_SKIP() << "the exhaustive comparison (2^31 floats) runs in the release build only; "
                    "under a sanitizer it would take far too long";
}
#else
// The exhaustive comparison's helpers, which only the release build runs.
float fromBits(std::uint32_t bits) {
    return std::bit_cast<float>(bits);
}

// Differences between the vector sine, in the lanes the limit allows, and sinf over the bit
// patterns [first, last), with the first one found.
struct Differences {
    std::uint64_t count = 0;
    std::uint32_t firstBits = 0;
};

Differences compareRange(std::uint32_t first, std::uint32_t last) {
    constexpr unsigned int kChunk = 4096;
    std::vector<float> x(kChunk);
    std::vector<float> ours(kChunk);
    Differences found;
    for (std::uint64_t start = first; start < last; start += kChunk) {
        const unsigned int count =
            static_cast<unsigned int>(std::min<std::uint64_t>(kChunk, last - start));
        for (unsigned int i = 0; i < count; ++i)
            x[i] = fromBits(static_cast<std::uint32_t>(start + i));
        VectorSine::evaluate(x.data(), ours.data(), count);
        for (unsigned int i = 0; i < count; ++i) {
            if (bitsOf(ours[i]) == bitsOf(sinf(x[i]))) continue;
            if (found.count++ == 0) found.firstBits = bitsOf(x[i]);
        }
    }
    return found;
}

// Every float of [0, 8) and (-8, -0] in the lanes the limit allows: each sign's bit patterns
// below that of 8, split over the cores.
void expectEqualsSinfBelowEight() {
    const std::uint32_t eight = bitsOf(8.0f);
    const unsigned int threads = std::max(2u, std::thread::hardware_concurrency());
    std::vector<std::pair<std::uint32_t, std::uint32_t> > ranges;
    for (std::uint32_t sign : {0u, 0x80000000u}) {
        for (unsigned int t = 0; t < threads; ++t) {
            const std::uint32_t begin =
                static_cast<std::uint32_t>(std::uint64_t{eight} * t / threads);
            const std::uint32_t end =
                static_cast<std::uint32_t>(std::uint64_t{eight} * (t + 1) / threads);
            ranges.emplace_back(sign | begin, sign | end);
        }
    }
    std::vector<Differences> results(ranges.size());
    std::vector<std::thread> workers;
    for (unsigned int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            for (std::size_t r = t; r < ranges.size(); r += threads) {
                results[r] = compareRange(ranges[r].first, ranges[r].second);
            }
        });
    }
    for (std::thread& worker : workers) worker.join();
    std::uint64_t total = 0;
    for (const Differences& found : results) {
        total += found.count;
        EXPECT_EQ(found.count, 0u) << "first at x = " << fromBits(found.firstBits) << " (bits 0x"
                                   << std::hex << found.firstBits << ")";
    }
    EXPECT_EQ(total, 0u);
}

TEST(VectorSine, EqualsSinfOnEveryFloatBelowEight) {
    for (const unsigned int lanes : kSineWidths) {
        SCOPED_TRACE(::testing::Message() << "at most " << lanes << " lanes");
        const LaneLimit limit(lanes);
        expectEqualsSinfBelowEight();
    }
    std::cout << "compared " << 2 * std::uint64_t{bitsOf(8.0f)} << " floats in each width; "
              << "this processor runs up to " << LaneChoice::widestOnThisProcessor() << " lanes\n";
}
#endif

TEST(VectorSine, EqualsSinfOnSpecialValues) {
    const std::vector<float> x = {std::numeric_limits<float>::quiet_NaN(),
                                  -std::numeric_limits<float>::quiet_NaN(),
                                  std::numeric_limits<float>::infinity(),
                                  -std::numeric_limits<float>::infinity(),
                                  0.0f,
                                  -0.0f,
                                  std::numeric_limits<float>::denorm_min(),
                                  -std::numeric_limits<float>::denorm_min(),
                                  1e-40f,
                                  std::numeric_limits<float>::min(),
                                  8.0f,
                                  -8.0f,
                                  1e6f,
                                  std::numeric_limits<float>::max()};
    // Padded to thirty-two, so that every lane form sees them.
    std::vector<float> padded = x;
    padded.resize(32, 1.0f);
    for (const unsigned int lanes : kSineWidths) {
        SCOPED_TRACE(::testing::Message() << "at most " << lanes << " lanes");
        const LaneLimit limit(lanes);
        std::vector<float> ours(padded.size());
        VectorSine::evaluate(padded.data(), ours.data(), static_cast<unsigned int>(padded.size()));
        for (std::size_t i = 0; i < x.size(); ++i) {
            const float reference = sinf(x[i]);
            if (std::isnan(reference)) {
                EXPECT_TRUE(std::isnan(ours[i])) << x[i];
            } else {
                EXPECT_EQ(bitsOf(ours[i]), bitsOf(reference)) << x[i];
            }
        }
        EXPECT_TRUE(std::signbit(ours[5])) << "sin(-0) is -0";
    }
}

}  // namespace
