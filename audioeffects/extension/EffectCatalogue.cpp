#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>
#include <string>

#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/PingPongDelayNode.h>
#include <ostrana/audioeffects/VibratoNode.h>

#include "descriptors/EffectParameters.h"

namespace ostrana::extensions::audioeffects {

namespace {

namespace defined = parameters;

// Every node is built for up to two channels. The configuration map is never read: each node
// starts from its own defaults and is adjusted afterwards through its accessors.
constexpr unsigned int kChannelCapacity = 2;

template <typename NodeClass>
Node* createNode(const XVAnyMap& /*configuration*/) {
    return new NodeClass(kChannelCapacity);
}

// The ping-pong delay always works on two channels; it takes the map and ignores it.
template <>
Node* createNode<PingPongDelayNode>(const XVAnyMap& configuration) {
    return new PingPongDelayNode(configuration);
}

template <typename NodeClass>
NodeClass& nodeOf(Node& node) {
    auto* typed = dynamic_cast<NodeClass*>(&node);
    if (typed == nullptr) {
        throw std::invalid_argument("the node is not of the node type whose parameter this is");
    }
    return *typed;
}

// The member type a getter returns: the parameter's C++ type.
template <typename Getter>
struct ValueOf;
template <typename Class, typename T>
struct ValueOf<T (Class::*)()> {
    using Type = T;
};
template <typename Class, typename T>
struct ValueOf<T (Class::*)() const> {
    using Type = T;
};

// A parameter read through kGetter and written through kSetter on nodes of NodeClass (the
// accessors may be a base class's, as the swept effects share theirs: the node's own class
// is still what is checked).
template <typename NodeClass, auto kGetter, auto kSetter>
constexpr NodeParameter accessed(const ParameterDefinition& definition) {
    using T = typename ValueOf<decltype(kGetter)>::Type;
    return NodeParameter{
        definition,
        [](Node& node) -> ParameterValue { return (nodeOf<NodeClass>(node).*kGetter)(); },
        [](Node& node, const ParameterValue& value) {
            const T* typed = std::get_if<T>(&value);
            if (typed == nullptr) {
                throw std::invalid_argument("the value is not of the parameter's kind");
            }
            (nodeOf<NodeClass>(node).*kSetter)(*typed);
        }};
}

// The echo's five parameters on DelayNode or PingPongDelayNode; only the switch's wording
// differs between the two.
template <typename NodeClass>
constexpr std::array<NodeParameter, 5> echoParameters(const ParameterDefinition& enabled) {
    return {
        accessed<NodeClass, &NodeClass::getIsEnabled, &NodeClass::setIsEnabled>(enabled),
        accessed<NodeClass, &NodeClass::getDelayMs, &NodeClass::setDelayMs>(defined::kDelayMs),
        accessed<NodeClass, &NodeClass::getDryMix, &NodeClass::setDryMix>(defined::kDryMix),
        accessed<NodeClass, &NodeClass::getWetMix, &NodeClass::setWetMix>(defined::kWetMix),
        accessed<NodeClass, &NodeClass::getFeedbackLevel, &NodeClass::setFeedbackLevel>(
            defined::kFeedbackLevel),
    };
}

// A swept effect's three parameters on its node class.
template <typename NodeClass>
constexpr std::array<NodeParameter, 3> sweptParameters(
    const defined::SweptEffectParameters& definitions) {
    return {
        accessed<NodeClass, &NodeClass::getIsEnabled, &NodeClass::setIsEnabled>(
            definitions.enabled),
        accessed<NodeClass, &NodeClass::getSweepWidth, &NodeClass::setSweepWidth>(
            definitions.sweepWidth),
        accessed<NodeClass, &NodeClass::getFrequency, &NodeClass::setFrequency>(
            definitions.frequency),
    };
}

constexpr auto kDelayParameters = echoParameters<DelayNode>(defined::kDelayEnabled);
constexpr auto kPingPongDelayParameters =
    echoParameters<PingPongDelayNode>(defined::kPingPongEnabled);
constexpr auto kVibratoParameters = sweptParameters<VibratoNode>(defined::kVibrato);
constexpr auto kFlangerParameters = sweptParameters<FlangerNode>(defined::kFlanger);
constexpr auto kChorusParameters = sweptParameters<ChorusNode>(defined::kChorus);

// In the factory's registration order, which hosts show their users: keep it.
constexpr NodeTypeEntry kNodeTypes[] = {
    {"delay", 1, 2, &DelayNode::getNodeTypeInfo, &createNode<DelayNode>, kDelayParameters},
    {"ping-pong-delay", 2, 2, &PingPongDelayNode::getNodeTypeInfo, &createNode<PingPongDelayNode>,
     kPingPongDelayParameters},
    {"vibrato", 1, 2, &VibratoNode::getNodeTypeInfo, &createNode<VibratoNode>, kVibratoParameters},
    {"flanger", 1, 2, &FlangerNode::getNodeTypeInfo, &createNode<FlangerNode>, kFlangerParameters},
    {"chorus", 1, 2, &ChorusNode::getNodeTypeInfo, &createNode<ChorusNode>, kChorusParameters},
};

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

}  // namespace

std::span<const NodeTypeEntry> EffectCatalogue::nodeTypes() {
    return kNodeTypes;
}

const NodeTypeEntry* EffectCatalogue::find(std::string_view name) {
    for (const NodeTypeEntry& entry : kNodeTypes) {
        if (equalIgnoringCase(entry.shortName, name) || equalIgnoringCase(entry.typeName(), name)) {
            return &entry;
        }
    }
    return nullptr;
}

}  // namespace ostrana::extensions::audioeffects
