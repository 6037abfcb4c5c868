#include <atomic>

#include <ostrana/audio/SineChoice.h>

namespace ostrana::audio {

namespace {

#if defined(OSTRANA_VECTOR_SINE)
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
