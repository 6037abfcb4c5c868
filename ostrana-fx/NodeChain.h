#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <ostrana/audioeffects/NodeParameter.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::fx {

// Audio nodes run one after another: node 1 reads the input bus, each further node reads
// the output of the one before, and the last node's output is the chain's output.
//
// A node type that takes fewer channels than the input has (the catalogue says how many)
// runs as several nodes of that type, each on its own group of channels: pairs for the
// nodes that take two (a lone last channel on its own, where the type takes one), single
// channels for the rest. Every node of a stage gets the same parameters.
//
// Use: addNode and setParameter while reading the command line, then prepare once for the
// input's format, then processBlock for each block. Buses and bus lists are made in
// prepare, so processing a block allocates nothing.
class NodeChain {
  public:
    NodeChain();
    ~NodeChain();
    NodeChain(const NodeChain&) = delete;
    NodeChain& operator=(const NodeChain&) = delete;

    // Creates a node of the type (a fully qualified or a short name, in any case) and appends
    // it. Throws a usage CommandError for an unknown type or one that is not a single-bus
    // audio processor.
    void addNode(const std::string& type);
    // Applies "NAME=VALUE" to the last node added. Throws a usage CommandError when there is
    // no node yet, when the node has no such parameter, when the value does not parse, or
    // when it lies outside the parameter's range.
    void setParameter(const std::string& assignment);
    // Applies the catalogue's preset of this name (in any case) to the last node added: every
    // parameter gets the preset's value or its default. Throws a usage CommandError when there
    // is no node yet or the node's type has no such preset (listing the presets it has).
    void applyPreset(const std::string& name);
    // Whether setParameter stores values outside a parameter's range (refused by default).
    void setAllowOutOfRange(bool allow) { allowOutOfRange_ = allow; }

    // Offers each node, in order, the format of the block it will receive, splitting the
    // channels into groups where a node takes fewer; sizes the buses. Throws a usage
    // CommandError naming the node that refuses its format. inputName names where the input
    // comes from, for that message.
    void prepare(unsigned int channels, unsigned int sampleRate, unsigned int blockFrames,
                 const std::string& inputName);

    // The bus to fill before processBlock; its frame count is the block's.
    AudioBus& input() { return buses_.front(); }
    // The processed block after processBlock.
    const AudioBus& output() const { return buses_.back(); }
    // Runs every node on the current block. Throws a failure CommandError if a node refuses
    // the block (cannot happen for a block within the prepared format).
    void processBlock();

    std::size_t size() const { return stages_.size(); }
    // The fully qualified node types, in order.
    std::vector<std::string> types() const;
    bool empty() const { return stages_.empty(); }
    // The node types, joined with " -> ", for summaries.
    std::string describe() const;
    // The quiet stretch that ends an automatic tail after the chain: the longest that any of
    // its effect nodes asks for with its current settings.
    double quietTailSeconds(unsigned int sampleRate);

  private:
    using ParameterWrite = std::pair<const extensions::audioeffects::NodeParameter*,
                                     extensions::audioeffects::ParameterValue>;

    // One node of a stage and the channels it works on: all of them, or a group, through
    // buses that view the stage's buses.
    struct Group {
        std::unique_ptr<Node> node;
        SingleBusAudioProcessorNode* processor = nullptr;
        unsigned int firstChannel = 0;
        AudioBus input;
        AudioBus output;
        AudioBusList inputs;
        AudioBusList outputs;
    };

    struct Stage {
        std::string type;
        std::vector<Group> groups;
        std::vector<ParameterWrite> writes;
    };

    std::string nodeLabel(std::size_t index) const;
    // The stage the next --set or --preset applies to: the last; what names the option for
    // messages when there is none.
    Stage& lastStage(const std::string& what);
    void negotiate(std::size_t index, unsigned int channels, unsigned int sampleRate,
                   unsigned int blockFrames, const std::string& inputName);
    Group makeGroup(std::size_t index);
    void connect(std::size_t index);
    std::string acceptedChannelCounts(const std::string& type) const;

    std::vector<Stage> stages_;
    std::vector<AudioBus> buses_;
    bool allowOutOfRange_ = false;
};

}  // namespace ostrana::fx
