#pragma once

#include <memory>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::fuzz {

// Stops the run, naming the fuzzer and the broken invariant, unless condition holds; libFuzzer
// then keeps the input that broke it.
void requireInvariant(bool condition, const char* fuzzer, const char* what);

// The node factory the fuzzers make their nodes with, built once.
extensions::audioeffects::AudioEffectsNodeFactory& nodeFactory();

// A node of the type of entry, one of the catalogue's own entries, made by the factory by its
// type name from configuration, as a host makes it. Stops the run, naming the fuzzer, when the
// factory refuses or the node is not a single-bus audio processor.
std::unique_ptr<SingleBusAudioProcessorNode> createProcessor(
    const extensions::audioeffects::NodeTypeEntry& entry, const XVAnyMap& configuration,
    const char* fuzzer);

// How many node types the first byte of an input picks from (by its value modulo this number).
// Each fuzz target defines it for the types it drives; the replay tests run every seed once
// per choice, so that each of those types meets each seed.
unsigned int nodeTypeChoices();

}  // namespace ostrana::fuzz
