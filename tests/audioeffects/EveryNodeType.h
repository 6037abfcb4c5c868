#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <ostrana/audioeffects/AudioEffectsNodeFactory.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

// Value-parameterized suites over the node types of the extension's catalogue: a suite
// instantiated with everyNodeType() (or with nodeTypesWhere(...)) and nodeTypeTestName covers a
// node type as soon as the catalogue lists it.

namespace ostrana::extensions::audioeffects {

// Names an entry in test listings and failure messages by its type name.
inline void PrintTo(const NodeTypeEntry& entry, std::ostream* out) {
    *out << entry.typeName();
}

}  // namespace ostrana::extensions::audioeffects

namespace ostrana::testing {

using extensions::audioeffects::NodeTypeEntry;

// Every node type of the catalogue, in its order.
inline auto everyNodeType() {
    const auto types = extensions::audioeffects::EffectCatalogue::nodeTypes();
    return ::testing::ValuesIn(types.begin(), types.end());
}

// The node types of the catalogue, in its order, for which holds(entry) is true.
template <typename Predicate>
std::vector<NodeTypeEntry> nodeTypesWhere(Predicate holds) {
    std::vector<NodeTypeEntry> chosen;
    for (const NodeTypeEntry& entry : extensions::audioeffects::EffectCatalogue::nodeTypes()) {
        if (holds(entry)) chosen.push_back(entry);
    }
    return chosen;
}

// A test name from the short name: "ping-pong-delay" gives "ping_pong_delay".
inline std::string nodeTypeTestName(const ::testing::TestParamInfo<NodeTypeEntry>& info) {
    std::string name(info.param.shortName);
    for (char& c : name) {
        if (c == '-') c = '_';
    }
    return name;
}

// A node of the entry's type, made by the extension's factory from its type name with an empty
// configuration, as a host makes it; nullptr (and a failure) if the factory refuses or the node
// is no single-bus audio processor.
inline std::unique_ptr<SingleBusAudioProcessorNode> createProcessor(const NodeTypeEntry& entry) {
    auto created =
        extensions::audioeffects::AudioEffectsNodeFactory().createNode(entry.typeName(), {});
    if (!created.isOk()) {
        ADD_FAILURE() << entry.typeName() << ": " << created.errorMessage();
        return nullptr;
    }
    std::unique_ptr<Node> node = std::move(created).value();
    auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
    if (processor == nullptr) {
        ADD_FAILURE() << entry.typeName() << " is no single-bus audio processor";
        return nullptr;
    }
    node.release();
    return std::unique_ptr<SingleBusAudioProcessorNode>(processor);
}

}  // namespace ostrana::testing
