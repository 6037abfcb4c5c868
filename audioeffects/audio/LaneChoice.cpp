#include <algorithm>
#include <atomic>

#include <ostrana/audio/LaneChoice.h>

#include "audio/LaneTarget.h"

namespace ostrana::audio {

namespace {

std::atomic<unsigned int> lanesAtMost{LaneChoice::kWidest};

}  // namespace

unsigned int LaneChoice::widestOnThisProcessor() {
#if OSTRANA_X86_64_LANES
    // The compiler's run-time support reads the processor's features while the program loads;
    // these only test bits of what it found.
    if (__builtin_cpu_supports("avx512f")) return 16;
    if (__builtin_cpu_supports("avx2")) return 8;
#endif
    return 4;
}

void LaneChoice::limitTo(unsigned int lanes) {
    lanesAtMost.store(lanes);
}

unsigned int LaneChoice::limit() {
    return lanesAtMost.load(std::memory_order_relaxed);
}

unsigned int LaneChoice::inUse() {
    return std::min(limit(), widestOnThisProcessor());
}

}  // namespace ostrana::audio
