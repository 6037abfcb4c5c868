#include <atomic>
#include <cstdlib>

#include <ostrana/audio/SineChoice.h>

namespace ostrana::audio {

namespace {

// The vector sine gives sinf's values where sinf is glibc's; elsewhere sinf by default.
#if defined(OSTRANA_VECTOR_SINE) && defined(__GLIBC__)
std::atomic<bool> useVector{true};
#else
std::atomic<bool> useVector{false};
#endif

}  // namespace

void SineChoice::useVectorSine(bool use) {
    useVector.store(use);
}

bool SineChoice::usesVectorSine() {
    return useVector.load(std::memory_order_relaxed);
}

}  // namespace ostrana::audio
