#include "nodes/SweptDelayRenderer.h"

namespace ostrana::extensions::audioeffects {

SweptDelayRenderer::Lanes SweptDelayRenderer::widestLanes() {
#if defined(__x86_64__)
    // The compiler's run-time support reads the processor's features while the program loads;
    // this only tests a bit of what it found.
    if (__builtin_cpu_supports("avx2")) return Lanes::kEight;
#endif
    return Lanes::kFour;
}

}  // namespace ostrana::extensions::audioeffects
