#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

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

std::unique_ptr<SingleBusAudioProcessorNode> createProcessor(
    const extensions::audioeffects::NodeTypeEntry& entry, const XVAnyMap& configuration,
    const char* fuzzer) {
    auto created = nodeFactory().createNode(entry.typeName(), configuration);
    requireInvariant(created.isOk(), fuzzer, "the factory creates every catalogued node type");
    std::unique_ptr<Node> node = std::move(created).value();
    auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
    requireInvariant(processor != nullptr, fuzzer,
                     "every effect node is a single-bus audio processor");
    node.release();
    return std::unique_ptr<SingleBusAudioProcessorNode>(processor);
}

}  // namespace ostrana::fuzz
