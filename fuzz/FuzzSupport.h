#pragma once

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>

namespace ostrana::fuzz {

// Stops the run, naming the fuzzer and the broken invariant, unless condition holds; libFuzzer
// then keeps the input that broke it.
void requireInvariant(bool condition, const char* fuzzer, const char* what);

// The node factory the fuzzers make their nodes and read their descriptors with, built once.
extensions::audioeffects::AudioEffectsNodeFactory& nodeFactory();

}  // namespace ostrana::fuzz
