#include "NodeChain.h"

#include <utility>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBusFormat.h>

#include "CommandError.h"
#include "NodeCatalog.h"
#include "ParameterValueParser.h"
#include "TextList.h"

namespace ostrana::fx {

namespace {

// The highest channel count tried when telling the user which counts a node takes.
constexpr unsigned int kMostChannelsProbed = 8;

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;

// The parameter names of a node type, for messages.
std::vector<std::string> parameterNames(const NodeTypeEntry* entry) {
    std::vector<std::string> names;
    if (entry == nullptr) return names;
    for (const NodeParameter& parameter : entry->parameters) names.emplace_back(parameter.name);
    return names;
}

}  // namespace

NodeChain::NodeChain() = default;

NodeChain::~NodeChain() = default;

std::string NodeChain::nodeLabel(std::size_t index) const {
    return "node " + std::to_string(index + 1) + " (" + stages_[index].type + ")";
}

void NodeChain::addNode(const std::string& type) {
    const std::string where = "--node #" + std::to_string(stages_.size() + 1);
    Stage stage;
    stage.type = type;
    stage.node = NodeCatalog::createNode(type, where);
    stage.processor = dynamic_cast<SingleBusAudioProcessorNode*>(stage.node.get());
    if (stage.processor == nullptr) {
        throw CommandError::usage(where + ": node type '" + type +
                                  "' is not a one-bus audio effect and cannot be rendered");
    }
    stages_.push_back(std::move(stage));
}

void NodeChain::setParameter(const std::string& assignment) {
    if (stages_.empty()) {
        throw CommandError::usage("--set '" + assignment +
                                  "': comes before any --node; each --set applies to the "
                                  "--node before it");
    }
    const std::size_t index = stages_.size() - 1;
    const std::string where = "--set '" + assignment + "' on " + nodeLabel(index);
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw CommandError::usage(where + ": expected NAME=VALUE");
    }
    const std::string name = assignment.substr(0, equals);
    const std::string text = assignment.substr(equals + 1);
    const NodeTypeEntry* entry = EffectCatalogue::find(stages_[index].type);
    const NodeParameter* parameter = entry == nullptr ? nullptr : entry->findParameter(name);
    if (parameter == nullptr) {
        throw CommandError::usage(where + ": unknown parameter '" + name +
                                  "'; parameters: " + TextList::join(parameterNames(entry)));
    }
    const Result<ParameterValue> value = ParameterValueParser::parse(parameter->kind, text);
    if (!value.isOk()) {
        throw CommandError::usage(where + ": invalid value '" + text + "' for parameter '" + name +
                                  "': " + value.errorMessage());
    }
    parameter->write(*stages_[index].node, value.value());
}

std::string NodeChain::acceptedChannelCounts(const std::string& type) const {
    std::vector<unsigned int> accepted;
    try {
        std::unique_ptr<Node> probe = NodeCatalog::createNode(type, "probe");
        auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(probe.get());
        for (unsigned int count = 1; processor != nullptr && count <= kMostChannelsProbed;
             ++count) {
            AudioBusFormatList inputs{AudioBusFormat{count, 0, 0}};
            AudioBusFormatList outputs{AudioBusFormat{}};
            if (processor->setBusFormats(inputs, outputs)) accepted.push_back(count);
        }
    } catch (const CommandError&) {
        // The type was created once already; if it cannot be again, just say less.
    }
    if (accepted.empty()) return "";
    std::vector<std::string> counts;
    for (unsigned int count : accepted) counts.push_back(std::to_string(count));
    return "; it takes " + TextList::join(counts, ", ", " or ") +
           (accepted.back() == 1 ? " channel" : " channels");
}

void NodeChain::negotiate(std::size_t index, unsigned int channels, unsigned int sampleRate,
                          unsigned int blockFrames, const std::string& inputName) {
    AudioBusFormatList inputs{AudioBusFormat{channels, sampleRate, blockFrames}};
    AudioBusFormatList outputs{AudioBusFormat{channels, sampleRate, blockFrames}};
    if (stages_[index].processor->setBusFormats(inputs, outputs)) return;
    throw CommandError::failure(nodeLabel(index) + " refuses " + std::to_string(channels) +
                                "-channel audio at " + std::to_string(sampleRate) + " Hz from '" +
                                inputName + "'" + acceptedChannelCounts(stages_[index].type));
}

void NodeChain::prepare(unsigned int channels, unsigned int sampleRate, unsigned int blockFrames,
                        const std::string& inputName) {
    for (std::size_t index = 0; index < stages_.size(); ++index) {
        negotiate(index, channels, sampleRate, blockFrames, inputName);
    }
    buses_.clear();
    buses_.reserve(stages_.size() + 1);
    for (std::size_t i = 0; i <= stages_.size(); ++i) {
        buses_.emplace_back(channels, blockFrames, sampleRate);
    }
    for (std::size_t index = 0; index < stages_.size(); ++index) {
        stages_[index].inputs = AudioBusList{&buses_[index]};
        stages_[index].outputs = AudioBusList{&buses_[index + 1]};
    }
}

void NodeChain::processBlock() {
    for (std::size_t index = 0; index < stages_.size(); ++index) {
        Stage& stage = stages_[index];
        if (!stage.processor->process(stage.inputs, stage.outputs)) {
            throw CommandError::failure(
                nodeLabel(index) + " refused a block of " +
                std::to_string(stage.inputs[0]->buffer.getNumberOfFrames()) + " frames");
        }
    }
}

std::string NodeChain::describe() const {
    std::string text;
    for (const Stage& stage : stages_) text += (text.empty() ? "" : " -> ") + stage.type;
    return text;
}

}  // namespace ostrana::fx
