#include "GroupedEffect.h"

#include <utility>

#include <ostrana/audioeffects/ChannelGroups.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::web {

namespace {

using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::ParameterValue;

// One node for channels the type takes, else the library's groups, as the other front ends run
// them.
std::vector<unsigned int> groupSizes(const NodeTypeEntry& entry, unsigned int channels) {
    if (channels == 0) return {};
    if (entry.acceptsChannels(channels)) return {channels};
    return channelGroups(entry, channels);
}

double asNumber(const ParameterValue& value) {
    if (const bool* on = std::get_if<bool>(&value)) return *on ? 1.0 : 0.0;
    if (const unsigned int* whole = std::get_if<unsigned int>(&value)) return *whole;
    return std::get<float>(value);
}

}  // namespace

GroupedEffect::GroupedEffect(const NodeTypeEntry& entry, unsigned int channels)
    : entry_(entry), channels_(channels), samples_(2 * channels * kQuantum, 0.0f) {}

std::unique_ptr<GroupedEffect> GroupedEffect::create(const NodeTypeEntry& entry,
                                                     unsigned int channels,
                                                     unsigned int sampleRate) {
    const std::vector<unsigned int> sizes = groupSizes(entry, channels);
    if (sizes.empty()) return nullptr;
    std::unique_ptr<GroupedEffect> effect(new GroupedEffect(entry, channels));
    effect->groups_.reserve(sizes.size());
    unsigned int first = 0;
    for (unsigned int size : sizes) {
        if (!effect->addGroup(first, size, sampleRate)) return nullptr;
        first += size;
    }
    return effect;
}

// The node is made by type name through the host library, where the extension registered
// itself when the module started.
bool GroupedEffect::addGroup(unsigned int firstChannel, unsigned int count,
                             unsigned int sampleRate) {
    Result<std::unique_ptr<Node>> created =
        ExtensionManager::getInstance().createNode(entry_.typeName(), XVAnyMap());
    if (!created.isOk()) return false;
    Group group;
    group.node = std::move(created).value();
    group.processor = dynamic_cast<SingleBusAudioProcessorNode*>(group.node.get());
    if (group.processor == nullptr) return false;
    AudioBusFormatList inputs{AudioBusFormat{count, sampleRate, kQuantum}};
    AudioBusFormatList outputs{AudioBusFormat{count, sampleRate, kQuantum}};
    if (!group.processor->setBusFormats(inputs, outputs)) return false;
    group.input.buffer = AudioBuffer<float>::view(count, kQuantum, sampleRate);
    group.output.buffer = AudioBuffer<float>::view(count, kQuantum, sampleRate);
    for (unsigned int c = 0; c < count; ++c) {
        group.input.buffer.attachChannel(c, input(firstChannel + c));
        group.output.buffer.attachChannel(c, output(firstChannel + c));
    }
    groups_.push_back(std::move(group));
    // The lists point at the buses where they now lie, inside the vector reserved above.
    Group& placed = groups_.back();
    placed.inputs = AudioBusList{&placed.input};
    placed.outputs = AudioBusList{&placed.output};
    return true;
}

bool GroupedEffect::setParameter(unsigned int index, double number) {
    if (index >= entry_.parameters.size()) return false;
    const auto& definition = entry_.parameters[index];
    const ParameterValue value = definition.fromNumber(number);
    for (Group& group : groups_) definition.write(*group.node, value);
    return true;
}

double GroupedEffect::parameter(unsigned int index) {
    if (index >= entry_.parameters.size() || groups_.empty()) return 0.0;
    return asNumber(entry_.parameters[index].read(*groups_.front().node));
}

bool GroupedEffect::process(unsigned int frames) {
    if (frames > kQuantum) return false;
    for (Group& group : groups_) {
        group.input.buffer.setNumberOfFrames(frames);
        group.output.buffer.setNumberOfFrames(frames);
        if (!group.processor->process(group.inputs, group.outputs)) return false;
    }
    return true;
}

}  // namespace ostrana::web
