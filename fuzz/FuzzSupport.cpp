#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>

namespace ostrana::fuzz {

void requireInvariant(bool condition, const char* fuzzer, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "%s: invariant broken: %s\n", fuzzer, what);
    std::abort();
}

extensions::audioeffects::AudioEffectsNodeFactory& nodeFactory() {
    static extensions::audioeffects::AudioEffectsNodeFactory instance;
    return instance;
}

}  // namespace ostrana::fuzz
