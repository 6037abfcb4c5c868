#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

#include <ostrana/audioeffects/NodeParameter.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/audioeffects/ParameterDefinition.h>
#include <ostrana/sdk/Node.h>

namespace ostrana::extensions::audioeffects {

// One parameter of an effect: what it is, and the atomic member of the effect's Values that
// holds it. Control threads exchange the atomic; the kernel loads it. An effect lists its
// parameters once, as an array of slots, and everything else (the node's defaults, its
// accessors, the catalogue's read and write, host properties) is made from that array.
template <typename Values>
struct ParameterSlot {
    using Field = std::variant<std::atomic<bool> Values::*, std::atomic<unsigned int> Values::*,
                               std::atomic<float> Values::*>;

    // A slot whose atomic is of another kind than the definition does not compile.
    constexpr ParameterSlot(const ParameterDefinition& what, Field where)
        : definition(what), field(where) {
        if (field.index() != static_cast<std::size_t>(definition.kind)) {
            throw std::invalid_argument("a parameter is held in an atomic of another kind");
        }
    }

    ParameterDefinition definition;
    Field field;

    ParameterValue read(const Values& values) const {
        return std::visit([&](auto member) -> ParameterValue { return (values.*member).load(); },
                          field);
    }
    // Throws std::invalid_argument unless the value is of the parameter's kind.
    void requireKind(const ParameterValue& value) const {
        if (value.index() != field.index()) {
            throw std::invalid_argument("the value is not of the parameter's kind");
        }
    }
    // Stores a value of the parameter's kind as given, in one atomic exchange.
    void write(Values& values, const ParameterValue& value) const {
        requireKind(value);
        std::visit(
            [&](auto member) {
                using T = typename std::remove_reference_t<decltype(values.*member)>::value_type;
                (values.*member).exchange(std::get<T>(value));
            },
            field);
    }
};

// The slots of first followed by those of second.
template <typename Values, std::size_t N, std::size_t M>
constexpr std::array<ParameterSlot<Values>, N + M> joinedSlots(
    const std::array<ParameterSlot<Values>, N>& first,
    const std::array<ParameterSlot<Values>, M>& second) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
        return std::array<ParameterSlot<Values>, N + M>{
            {(I < N ? first[I < N ? I : 0] : second[I < N ? 0 : I - N])...}};
    }
    (std::make_index_sequence<N + M>{});
}

// slots with one more at the end: a table that extends another.
template <typename Values, std::size_t N>
constexpr std::array<ParameterSlot<Values>, N + 1> appended(
    const std::array<ParameterSlot<Values>, N>& slots, const ParameterSlot<Values>& last) {
    return joinedSlots(slots, std::array<ParameterSlot<Values>, 1>{{last}});
}

// Every atomic of values set to its parameter's default: how a new node starts.
template <typename Values, typename Slots>
void startFromDefaults(Values& values, const Slots& slots) {
    for (const ParameterSlot<Values>& slot : slots)
        slot.write(values, slot.definition.defaultValue);
}

// The library's way into a node's parameters: a node class names this a friend, and its
// internals_ derive from the effect's Values.
struct NodeInternals {
    template <typename NodeClass>
    static auto& of(NodeClass& node) {
        return *node.internals_;
    }
};

// The node of the catalogue entry's class, or std::invalid_argument.
template <typename NodeClass>
NodeClass& nodeOf(Node& node) {
    auto* typed = dynamic_cast<NodeClass*>(&node);
    if (typed == nullptr) {
        throw std::invalid_argument("the node is not of the node type whose parameter this is");
    }
    return *typed;
}

// The catalogue's parameter I of kSlots on nodes of NodeClass: read and written straight in
// the atomic the slot names (the value's kind is checked before the node's class).
template <typename NodeClass, typename Values, const auto& kSlots, std::size_t I>
constexpr NodeParameter boundParameter() {
    return NodeParameter{kSlots[I].definition,
                         [](Node& node) -> ParameterValue {
                             const Values& values = NodeInternals::of(nodeOf<NodeClass>(node));
                             return kSlots[I].read(values);
                         },
                         [](Node& node, const ParameterValue& value) {
                             kSlots[I].requireKind(value);
                             Values& values = NodeInternals::of(nodeOf<NodeClass>(node));
                             kSlots[I].write(values, value);
                         }};
}

template <typename NodeClass, typename Values, const auto& kSlots, std::size_t... I>
constexpr std::array<NodeParameter, sizeof...(I)> boundParameters(std::index_sequence<I...>) {
    return {boundParameter<NodeClass, Values, kSlots, I>()...};
}

// Every parameter of kSlots as the catalogue lists it, for nodes of NodeClass.
template <typename NodeClass, typename Values, const auto& kSlots>
inline constexpr auto kCatalogueParameters =
    boundParameters<NodeClass, Values, kSlots>(std::make_index_sequence<std::size(kSlots)>{});

// What a catalogue entry says of an effect besides its parameters.
struct EffectIdentity {
    std::string_view shortName;
    unsigned int minChannels;
    unsigned int maxChannels;
    NodeTypeInfo (*describe)();
    Node* (*create)(const XVAnyMap& configuration);
    bool widensMono;
    float extraDelaySamples = 0.0f;
};

// The catalogue entry of an effect whose nodes are of NodeClass and hold kSlots.
template <typename NodeClass, typename Values, const auto& kSlots>
constexpr NodeTypeEntry catalogueEntry(const EffectIdentity& identity) {
    return NodeTypeEntry{identity.shortName,   identity.minChannels,
                         identity.maxChannels, identity.describe,
                         identity.create,      kCatalogueParameters<NodeClass, Values, kSlots>,
                         identity.widensMono,  identity.extraDelaySamples};
}

// The entry of an effect that takes one or two channels, its nodes built for two from their
// constructor (NodeClass(2)); the configuration is not read.
template <typename NodeClass, typename Values, const auto& kSlots>
constexpr NodeTypeEntry monoOrStereoEntry(std::string_view shortName, bool widensMono,
                                          float extraDelaySamples = 0.0f) {
    return catalogueEntry<NodeClass, Values, kSlots>(
        {.shortName = shortName,
         .minChannels = 1,
         .maxChannels = 2,
         .describe = &NodeClass::getNodeTypeInfo,
         .create = [](const XVAnyMap&) -> Node* { return new NodeClass(2); },
         .widensMono = widensMono,
         .extraDelaySamples = extraDelaySamples});
}

}  // namespace ostrana::extensions::audioeffects
