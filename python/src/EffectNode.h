#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::python {

// The node behind one Python effect: made by type name through the host library, with its
// parameters read and written through the catalogue's accessors when the catalogue lists the
// type. Used with Python's interpreter lock held, except that the audio thread of a call runs
// processor() while the lock is released; a parameter write is then one atomic exchange on the
// node, and renew() is refused.
class EffectNode {
  public:
    using NodeParameter = extensions::audioeffects::NodeParameter;
    using NodeTypeEntry = extensions::audioeffects::NodeTypeEntry;
    using ParameterValue = extensions::audioeffects::ParameterValue;

    // Throws std::invalid_argument for a type no loaded extension has, or one that is not a
    // one-bus audio processor (it could not process an array).
    explicit EffectNode(std::string typeName);
    ~EffectNode();
    EffectNode(const EffectNode&) = delete;
    EffectNode& operator=(const EffectNode&) = delete;

    const std::string& typeName() const { return typeName_; }
    // The catalogue's entry for the type, or nullptr for a type of another extension.
    const NodeTypeEntry* entry() const { return entry_; }
    SingleBusAudioProcessorNode& processor() { return *processor_; }
    Node& node() { return *node_; }

    // The processors for audio of channels channels: this node's alone when it takes them,
    // else one per group of channelGroups (this node on the first group, nodes of the same
    // type with the same parameter values on the others, made here and kept while the
    // channel count stays), with the channels each works on. Empty when the channels can be
    // neither taken nor grouped.
    struct Member {
        SingleBusAudioProcessorNode* processor;
        unsigned int first;
        unsigned int count;
    };
    std::vector<Member> membersFor(unsigned int channels);

    // The catalogue parameter of this name (catalogue or Python spelling), or nullptr.
    const NodeParameter* findParameter(std::string_view name) const;
    ParameterValue read(const NodeParameter& parameter) { return parameter.read(*node_); }
    // Writes the value to the node and to the nodes of its other channel groups.
    void write(const NodeParameter& parameter, const ParameterValue& value) {
        parameter.write(*node_, value);
        for (const auto& group : groups_) parameter.write(*group, value);
    }

    // Applies the catalogue's preset of this name (any case) of the node's type to the node and
    // the nodes of its other channel groups. Throws std::invalid_argument when the type has no
    // such preset.
    void applyPreset(std::string_view name);

    // Replaces the node with a fresh one of the same type holding the same parameter values,
    // as if just made: no delayed samples, oscillators at their start, and drops the nodes of
    // other channel groups. Does nothing for a node that has not processed since it was made.
    void renew();

    // Whether the node takes audio of this many channels: the catalogue's range, or what the
    // node accepts when asked. channelText says which counts it takes, for messages.
    bool acceptsChannels(unsigned int channels);
    std::string channelText() const;

    // What the last call processed: its channel count and sample rate (0 before any call), and
    // the address of the first input sample the node read, to show where its input lay.
    unsigned int lastChannels() const { return lastChannels_; }
    unsigned int lastSampleRate() const { return lastSampleRate_; }
    std::uintptr_t inputAddress() const { return inputAddress_; }
    void recordCall(unsigned int channels, unsigned int sampleRate, const float* firstInput);

    // Whether a call is processing the node now (set and read with the interpreter lock held).
    bool busy() const { return busy_; }
    void setBusy(bool busy) { busy_ = busy; }

  private:
    static std::unique_ptr<Node> createNode(const std::string& typeName);
    // A fresh node of the type with this node's parameter values.
    std::unique_ptr<Node> sameSettings() const;

    std::string typeName_;
    const NodeTypeEntry* entry_;
    std::unique_ptr<Node> node_;
    SingleBusAudioProcessorNode* processor_ = nullptr;
    // The nodes of the channel groups after the first, for audio of more channels than one
    // node takes.
    std::vector<std::unique_ptr<Node>> groups_;
    unsigned int lastChannels_ = 0;
    unsigned int lastSampleRate_ = 0;
    std::uintptr_t inputAddress_ = 0;
    bool busy_ = false;
};

}  // namespace ostrana::python
