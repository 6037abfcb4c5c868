#include "ParameterTable.h"

#include <utility>

#include <ostrana/audioeffects/ChorusNode.h>
#include <ostrana/audioeffects/DelayNode.h>
#include <ostrana/audioeffects/FlangerNode.h>
#include <ostrana/audioeffects/VibratoNode.h>
#include <ostrana/sdk/XVAnyConversionError.h>

namespace ostrana::fx {

namespace {

namespace audioeffects = ostrana::extensions::audioeffects;

template <typename Value>
struct AccessorTraits;
template <>
struct AccessorTraits<bool> {
    static constexpr ParameterKind kind = ParameterKind::Boolean;
};
template <>
struct AccessorTraits<unsigned int> {
    static constexpr ParameterKind kind = ParameterKind::UnsignedInteger;
};
template <>
struct AccessorTraits<float> {
    static constexpr ParameterKind kind = ParameterKind::Float;
};

// A parameter reached through a setter of the node class NodeClass.
template <typename NodeClass, typename Value>
ParameterBinding accessor(const std::string& name, void (NodeClass::*setter)(Value)) {
    auto store = [setter](Node& node, const XVAny& value) -> Result<void> {
        auto* target = dynamic_cast<NodeClass*>(&node);
        if (target == nullptr)
            return Result<void>::failure("the node does not have this parameter");
        try {
            (target->*setter)(XVAny::convert<Value>(value));
        } catch (const XVAnyConversionError& error) {
            return Result<void>::failure(error.what());
        }
        return {};
    };
    return ParameterBinding{name, AccessorTraits<Value>::kind, std::move(store)};
}

// A parameter reached through the node's host property of the same name.
ParameterBinding property(const std::string& name, ParameterKind kind) {
    auto store = [name](Node& node, const XVAny& value) { return node.setValue(name, value); };
    return ParameterBinding{name, kind, std::move(store)};
}

}  // namespace

ParameterTable::ParameterTable(std::vector<ParameterBinding> bindings)
    : bindings_(std::move(bindings)) {}

ParameterTable ParameterTable::delayTable() {
    using audioeffects::DelayNode;
    return ParameterTable({
        accessor("enabled", &DelayNode::setIsEnabled),
        accessor("delayMs", &DelayNode::setDelayMs),
        accessor("dryMix", &DelayNode::setDryMix),
        accessor("wetMix", &DelayNode::setWetMix),
        accessor("feedbackLevel", &DelayNode::setFeedbackLevel),
    });
}

ParameterTable ParameterTable::pingPongDelayTable() {
    return ParameterTable({
        property("enabled", ParameterKind::Boolean),
        property("delayMs", ParameterKind::UnsignedInteger),
        property("dryMix", ParameterKind::Float),
        property("wetMix", ParameterKind::Float),
        property("feedbackLevel", ParameterKind::Float),
    });
}

template <typename ModulationNode>
ParameterTable ParameterTable::modulationTable() {
    return ParameterTable({
        accessor("enabled", &ModulationNode::setIsEnabled),
        accessor("sweepWidth", &ModulationNode::setSweepWidth),
        accessor("frequency", &ModulationNode::setFrequency),
    });
}

ParameterTable ParameterTable::forNodeType(const std::string& typeName) {
    if (typeName == "AudioEffects.Delay") return delayTable();
    if (typeName == "AudioEffects.PingPongDelay") return pingPongDelayTable();
    if (typeName == "AudioEffects.Chorus") return modulationTable<audioeffects::ChorusNode>();
    if (typeName == "AudioEffects.Flanger") return modulationTable<audioeffects::FlangerNode>();
    if (typeName == "AudioEffects.Vibrato") return modulationTable<audioeffects::VibratoNode>();
    return ParameterTable({});
}

const ParameterBinding* ParameterTable::find(const std::string& name) const {
    for (const ParameterBinding& binding : bindings_) {
        if (binding.name == name) return &binding;
    }
    return nullptr;
}

std::string ParameterTable::describeNames() const {
    std::string names;
    for (const ParameterBinding& binding : bindings_) {
        names += (names.empty() ? "" : ", ") + binding.name;
    }
    return names.empty() ? "none" : names;
}

}  // namespace ostrana::fx
