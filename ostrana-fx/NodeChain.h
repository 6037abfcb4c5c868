#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::fx {

// Audio nodes run one after another: node 1 reads the input bus, each further node reads
// the output of the one before, and the last node's output is the chain's output.
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

    // Creates a node of the fully qualified type and appends it. Throws a usage CommandError
    // for an unknown type or one that is not a single-bus audio processor.
    void addNode(const std::string& type);
    // Applies "NAME=VALUE" to the last node added. Throws a usage CommandError when there is
    // no node yet, when the node has no such parameter, or when the value does not parse or
    // cannot be stored.
    void setParameter(const std::string& assignment);

    // Offers each node, in order, the format of the block it will receive; sizes the buses.
    // Throws a failure CommandError naming the node that refuses its format. inputName names
    // where the input comes from, for that message.
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
    bool empty() const { return stages_.empty(); }
    // The node types, joined with " -> ", for summaries.
    std::string describe() const;

  private:
    struct Stage {
        std::string type;
        std::unique_ptr<Node> node;
        SingleBusAudioProcessorNode* processor = nullptr;
        AudioBusList inputs;
        AudioBusList outputs;
    };

    std::string nodeLabel(std::size_t index) const;
    void negotiate(std::size_t index, unsigned int channels, unsigned int sampleRate,
                   unsigned int blockFrames, const std::string& inputName);
    std::string acceptedChannelCounts(const std::string& type) const;

    std::vector<Stage> stages_;
    std::vector<AudioBus> buses_;
};

}  // namespace ostrana::fx
