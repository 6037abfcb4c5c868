#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

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

namespace {

// The type names of the catalogue's entries, in its order, built once: typeName() builds the
// whole descriptor on every call.
const std::vector<std::string>& typeNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> built;
        for (const auto& entry : extensions::audioeffects::EffectCatalogue::nodeTypes()) {
            built.push_back(entry.typeName());
        }
        return built;
    }();
    return names;
}

}  // namespace

std::unique_ptr<SingleBusAudioProcessorNode> createProcessor(
    const extensions::audioeffects::NodeTypeEntry& entry, const XVAnyMap& configuration,
    const char* fuzzer) {
    const auto index = static_cast<std::size_t>(
        &entry - extensions::audioeffects::EffectCatalogue::nodeTypes().data());
    requireInvariant(index < typeNames().size(), fuzzer, "the node type is the catalogue's own");
    auto created = nodeFactory().createNode(typeNames()[index], configuration);
    requireInvariant(created.isOk(), fuzzer, "the factory creates every catalogued node type");
    std::unique_ptr<Node> node = std::move(created).value();
    auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
    requireInvariant(processor != nullptr, fuzzer,
                     "every effect node is a single-bus audio processor");
    node.release();
    return std::unique_ptr<SingleBusAudioProcessorNode>(processor);
}

}  // namespace ostrana::fuzz
