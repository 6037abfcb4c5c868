#include "EffectNode.h"

#include <stdexcept>
#include <utility>

#include <ostrana/audioeffects/ChannelGroups.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "PythonName.h"

namespace ostrana::python {

namespace {

using extensions::audioeffects::EffectCatalogue;

// The catalogue's entry for exactly this fully qualified type name, or nullptr. (The
// catalogue's own lookup also takes short names, which are no type names.)
const extensions::audioeffects::NodeTypeEntry* catalogueEntry(const std::string& typeName) {
    for (const auto& entry : EffectCatalogue::nodeTypes()) {
        if (entry.typeName() == typeName) return &entry;
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<Node> EffectNode::createNode(const std::string& typeName) {
    Result<std::unique_ptr<Node>> created =
        ExtensionManager::getInstance().createNode(typeName, XVAnyMap());
    if (!created.isOk()) throw std::invalid_argument(created.errorMessage());
    return std::move(created).value();
}

EffectNode::EffectNode(std::string typeName)
    : typeName_(std::move(typeName)), entry_(catalogueEntry(typeName_)) {
    node_ = createNode(typeName_);
    processor_ = dynamic_cast<SingleBusAudioProcessorNode*>(node_.get());
    if (processor_ == nullptr) {
        throw std::invalid_argument("node type '" + typeName_ +
                                    "' is not a one-bus audio effect; it cannot process audio");
    }
}

EffectNode::~EffectNode() = default;

const EffectNode::NodeParameter* EffectNode::findParameter(std::string_view name) const {
    if (entry_ == nullptr) return nullptr;
    for (const NodeParameter& parameter : entry_->parameters) {
        if (parameter.name == name || PythonName::of(parameter.name) == name) return &parameter;
    }
    return nullptr;
}

void EffectNode::applyPreset(std::string_view name) {
    const extensions::audioeffects::Preset* preset =
        entry_ == nullptr ? nullptr : EffectCatalogue::findPreset(entry_->shortName, name);
    if (preset == nullptr) {
        throw std::invalid_argument(typeName_ + " has no preset '" + std::string(name) + "'");
    }
    EffectCatalogue::applyPreset(*preset, *node_);
    for (const auto& group : groups_) EffectCatalogue::applyPreset(*preset, *group);
}

std::unique_ptr<Node> EffectNode::sameSettings() const {
    std::unique_ptr<Node> fresh = createNode(typeName_);
    if (entry_ != nullptr) {
        for (const NodeParameter& parameter : entry_->parameters) {
            parameter.write(*fresh, parameter.read(*node_));
        }
    }
    return fresh;
}

void EffectNode::renew() {
    if (lastChannels_ == 0) return;
    std::unique_ptr<Node> fresh = sameSettings();
    processor_ = dynamic_cast<SingleBusAudioProcessorNode*>(fresh.get());
    node_ = std::move(fresh);
    groups_.clear();
    lastChannels_ = 0;
    lastSampleRate_ = 0;
}

std::vector<EffectNode::Member> EffectNode::membersFor(unsigned int channels) {
    if (acceptsChannels(channels)) {
        groups_.clear();
        return {Member{processor_, 0, channels}};
    }
    const std::vector<unsigned int> sizes =
        entry_ != nullptr ? extensions::audioeffects::channelGroups(*entry_, channels)
                          : std::vector<unsigned int>{};
    if (sizes.empty()) return {};
    if (groups_.size() + 1 != sizes.size()) {
        groups_.clear();
        while (groups_.size() + 1 < sizes.size()) groups_.push_back(sameSettings());
    }
    std::vector<Member> members;
    unsigned int first = 0;
    for (std::size_t index = 0; index < sizes.size(); ++index) {
        Node& node = index == 0 ? *node_ : *groups_[index - 1];
        members.push_back(
            Member{dynamic_cast<SingleBusAudioProcessorNode*>(&node), first, sizes[index]});
        first += sizes[index];
    }
    return members;
}

bool EffectNode::acceptsChannels(unsigned int channels) {
    if (entry_ != nullptr) return entry_->acceptsChannels(channels);
    AudioBusFormatList inputs{AudioBusFormat{channels, 0, 0}};
    AudioBusFormatList outputs{AudioBusFormat{}};
    return processor_->setBusFormats(inputs, outputs);
}

std::string EffectNode::channelText() const {
    if (entry_ == nullptr) return "";
    const std::string low = std::to_string(entry_->minChannels);
    if (entry_->minChannels == entry_->maxChannels) {
        return "exactly " + low + (entry_->minChannels == 1 ? " channel" : " channels");
    }
    return low + " to " + std::to_string(entry_->maxChannels) + " channels";
}

void EffectNode::recordCall(unsigned int channels, unsigned int sampleRate,
                            const float* firstInput) {
    lastChannels_ = channels;
    lastSampleRate_ = sampleRate;
    inputAddress_ = reinterpret_cast<std::uintptr_t>(firstInput);
}

}  // namespace ostrana::python
