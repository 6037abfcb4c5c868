#pragma once

#if defined(__x86_64__) || defined(__SSE2__)
#include <xmmintrin.h>
#endif

#include <cstdint>

namespace ostrana::lv2 {

// While an object of this class lives, the processor flushes subnormal results to zero and
// reads subnormal inputs as zero; its mode before is restored when the object goes. A decaying
// echo then reaches exactly zero instead of lingering as subnormals (slow on many processors,
// and never silent). Results that are normal numbers are unchanged, so outputs stay exact.
class FlushDenormals {
  public:
#if defined(__x86_64__) || defined(__SSE2__)
    // MXCSR's flush-to-zero (bit 15) and denormals-are-zero (bit 6).
    static constexpr unsigned int kFlags = 0x8040;
    FlushDenormals() : saved_(_mm_getcsr()) {
        _mm_setcsr(saved_ | kFlags);
    }
    ~FlushDenormals() {
        _mm_setcsr(saved_);
    }

  private:
    unsigned int saved_;
#elif defined(__aarch64__)
    // FPCR's flush-to-zero bit.
    static constexpr std::uint64_t kFlags = std::uint64_t{1} << 24;
    FlushDenormals() {
        __asm__ __volatile__("mrs %0, fpcr" : "=r"(saved_));
        const std::uint64_t flushing = saved_ | kFlags;
        __asm__ __volatile__("msr fpcr, %0" : : "r"(flushing));
    }
    ~FlushDenormals() {
        __asm__ __volatile__("msr fpcr, %0" : : "r"(saved_));
    }

  private:
    std::uint64_t saved_;
#else
    FlushDenormals() = default;
#endif

  public:
    FlushDenormals(const FlushDenormals&) = delete;
    FlushDenormals& operator=(const FlushDenormals&) = delete;
};

}  // namespace ostrana::lv2
