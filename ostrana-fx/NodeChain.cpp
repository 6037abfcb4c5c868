#include "NodeChain.h"

#include <algorithm>
#include <utility>

#include <ostrana/audioeffects/ChannelGroups.h>
#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/TailTracker.h>
#include <ostrana/sdk/AudioBusFormat.h>

#include "CommandError.h"
#include "NodeCatalog.h"
#include "ParameterValueParser.h"
#include "Suggestion.h"
#include "TextList.h"

namespace ostrana::fx {

namespace {

// The highest channel count tried when telling the user which counts a node takes.
constexpr unsigned int kMostChannelsProbed = 8;

using extensions::audioeffects::channelGroups;
using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::Preset;
using extensions::audioeffects::TailTracker;

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
    stage.type = NodeCatalog::resolve(type, where);
    Group group;
    group.node = NodeCatalog::createNode(stage.type, where);
    group.processor = dynamic_cast<SingleBusAudioProcessorNode*>(group.node.get());
    if (group.processor == nullptr) {
        throw CommandError::usage(where + ": node type '" + type +
                                  "' is not a one-bus audio effect and cannot be rendered");
    }
    stage.groups.push_back(std::move(group));
    stages_.push_back(std::move(stage));
}

std::vector<std::string> NodeChain::types() const {
    std::vector<std::string> types;
    for (const Stage& stage : stages_) types.push_back(stage.type);
    return types;
}

NodeChain::Stage& NodeChain::lastStage(const std::string& what) {
    if (stages_.empty()) {
        const std::string option = what.substr(0, what.find(' '));
        throw CommandError::usage(what + ": comes before any --node; each " + option +
                                  " applies to the --node before it");
    }
    return stages_.back();
}

void NodeChain::applyPreset(const std::string& name) {
    Stage& stage = lastStage("--preset '" + name + "'");
    const std::string where = "--preset '" + name + "' on " + nodeLabel(stages_.size() - 1);
    const Preset* preset = EffectCatalogue::findPreset(stage.type, name);
    if (preset == nullptr) {
        std::vector<std::string> names;
        for (const Preset& known : EffectCatalogue::presetsOf(stage.type))
            names.emplace_back(known.name);
        const NodeTypeEntry* entry = EffectCatalogue::find(stage.type);
        std::string listing;
        if (entry != nullptr) listing.append(" ").append(entry->shortName);
        throw CommandError::usage(where + ": unknown preset" + Suggestion::didYouMean(name, names) +
                                  " (presets of " + stage.type + ": " + TextList::join(names) +
                                  "; see ostrana-fx presets" + listing + ")");
    }
    Node& node = *stage.groups.front().node;
    EffectCatalogue::applyPreset(*preset, node);
    // Recorded as the values written, for the nodes of other channel groups made later.
    for (const NodeParameter& parameter : EffectCatalogue::find(stage.type)->parameters) {
        stage.writes.emplace_back(&parameter, parameter.read(node));
    }
}

void NodeChain::setParameter(const std::string& assignment) {
    lastStage("--set '" + assignment + "'");
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
        const std::vector<std::string> names = parameterNames(entry);
        throw CommandError::usage(where + ": unknown parameter '" + name + "'" +
                                  Suggestion::didYouMean(name, names) +
                                  " (parameters: " + TextList::join(names) +
                                  "; see ostrana-fx params " + stages_[index].type + ")");
    }
    const Result<ParameterValue> value = ParameterValueParser::parse(parameter->kind, text);
    if (!value.isOk()) {
        throw CommandError::usage(where + ": invalid value '" + text + "' for parameter '" + name +
                                  "': " + value.errorMessage());
    }
    if (!allowOutOfRange_ && !parameter->contains(value.value())) {
        throw CommandError::usage(where + ": " + text + " is outside the range of '" + name +
                                  "', " + parameter->rangeText() +
                                  " (--allow-out-of-range lets it through)");
    }
    parameter->write(*stages_[index].groups.front().node, value.value());
    stages_[index].writes.emplace_back(parameter, value.value());
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

double NodeChain::quietTailSeconds(unsigned int sampleRate) {
    double seconds = TailTracker::kQuietSeconds;
    for (Stage& stage : stages_) {
        const NodeTypeEntry* entry = EffectCatalogue::find(stage.type);
        if (entry == nullptr) continue;
        seconds = std::max(seconds, TailTracker::quietSecondsAfter(
                                        *entry, *stage.groups.front().node, sampleRate));
    }
    return seconds;
}

NodeChain::Group NodeChain::makeGroup(std::size_t index) {
    Group group;
    group.node = NodeCatalog::createNode(stages_[index].type, nodeLabel(index));
    group.processor = dynamic_cast<SingleBusAudioProcessorNode*>(group.node.get());
    for (const auto& [parameter, value] : stages_[index].writes)
        parameter->write(*group.node, value);
    return group;
}

void NodeChain::negotiate(std::size_t index, unsigned int channels, unsigned int sampleRate,
                          unsigned int blockFrames, const std::string& inputName) {
    Stage& stage = stages_[index];
    stage.groups.resize(1);
    const auto offer = [&](Group& group, unsigned int count) {
        AudioBusFormatList inputs{AudioBusFormat{count, sampleRate, blockFrames}};
        AudioBusFormatList outputs{AudioBusFormat{count, sampleRate, blockFrames}};
        return group.processor != nullptr && group.processor->setBusFormats(inputs, outputs);
    };
    if (offer(stage.groups.front(), channels)) return;
    const NodeTypeEntry* entry = EffectCatalogue::find(stage.type);
    const std::vector<unsigned int> sizes =
        entry != nullptr ? channelGroups(*entry, channels) : std::vector<unsigned int>();
    bool accepted = !sizes.empty();
    unsigned int first = 0;
    for (std::size_t g = 0; accepted && g < sizes.size(); ++g) {
        if (g > 0) stage.groups.push_back(makeGroup(index));
        stage.groups[g].firstChannel = first;
        accepted = offer(stage.groups[g], sizes[g]);
        first += sizes[g];
    }
    if (accepted) return;
    stage.groups.resize(1);
    const std::string hint = channels == 1 && entry != nullptr && entry->acceptsChannels(2)
                                 ? "; --upmix makes two channels of a mono input"
                                 : "";
    throw CommandError::usage(nodeLabel(index) + " refuses " + std::to_string(channels) +
                              "-channel audio at " + std::to_string(sampleRate) + " Hz from '" +
                              inputName + "'" + acceptedChannelCounts(stage.type) + hint);
}

// A stage of one group reads and writes the chain's buses themselves; the nodes of a split
// stage each see their channels of them through views.
void NodeChain::connect(std::size_t index) {
    Stage& stage = stages_[index];
    AudioBus& in = buses_[index];
    AudioBus& out = buses_[index + 1];
    if (stage.groups.size() == 1) {
        stage.groups.front().inputs = AudioBusList{&in};
        stage.groups.front().outputs = AudioBusList{&out};
        return;
    }
    const unsigned int capacity = in.buffer.getNumberOfFrames();
    for (std::size_t g = 0; g < stage.groups.size(); ++g) {
        Group& group = stage.groups[g];
        const unsigned int next = g + 1 < stage.groups.size() ? stage.groups[g + 1].firstChannel
                                                              : in.buffer.getNumberOfChannels();
        const unsigned int count = next - group.firstChannel;
        group.input.buffer = AudioBuffer<float>::view(count, capacity, in.buffer.getSampleRate());
        group.output.buffer = AudioBuffer<float>::view(count, capacity, out.buffer.getSampleRate());
        for (unsigned int c = 0; c < count; ++c) {
            group.input.buffer.attachChannel(c, in.buffer.getChannel(group.firstChannel + c));
            group.output.buffer.attachChannel(c, out.buffer.getChannel(group.firstChannel + c));
        }
        group.inputs = AudioBusList{&group.input};
        group.outputs = AudioBusList{&group.output};
    }
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
    for (std::size_t index = 0; index < stages_.size(); ++index) connect(index);
}

void NodeChain::processBlock() {
    const unsigned int frames = buses_.front().buffer.getNumberOfFrames();
    for (std::size_t index = 0; index < stages_.size(); ++index) {
        for (Group& group : stages_[index].groups) {
            group.inputs[0]->buffer.setNumberOfFrames(frames);
            if (!group.processor->process(group.inputs, group.outputs)) {
                throw CommandError::failure(nodeLabel(index) + " refused a block of " +
                                            std::to_string(frames) + " frames");
            }
        }
        buses_[index + 1].buffer.setNumberOfFrames(frames);
    }
}

std::string NodeChain::describe() const {
    std::string text;
    for (const Stage& stage : stages_) text += (text.empty() ? "" : " -> ") + stage.type;
    return text;
}

}  // namespace ostrana::fx
