#pragma once

#include <memory>
#include <vector>

#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::web {

// One effect of the catalogue over planar audio of any channel count, as a browser node runs
// it: a node of the type takes every channel when it can, else the channels split into groups
// of the most it takes (pairs for the effects here, a lone last channel on its own where the
// type takes one), each group its own node with the same parameters. The samples live in
// buffers made once, kQuantum frames a channel, that the page fills and reads; processing
// allocates nothing.
class GroupedEffect {
  public:
    // The frames of one render quantum, the most a block holds.
    static constexpr unsigned int kQuantum = 128;

    // A new effect of the entry's type for this many channels, or nullptr when the channels
    // cannot be split into groups the type takes.
    static std::unique_ptr<GroupedEffect> create(
        const extensions::audioeffects::NodeTypeEntry& entry, unsigned int channels,
        unsigned int sampleRate);

    float* input(unsigned int channel) { return &samples_[channel * kQuantum]; }
    float* output(unsigned int channel) { return &samples_[(channels_ + channel) * kQuantum]; }
    unsigned int channels() const { return channels_; }

    // Writes the number, as a value of the parameter's kind, to every group's node. Returns
    // false for an index past the type's parameters.
    bool setParameter(unsigned int index, double number);
    // The parameter's value on the nodes, as a number (a switch is 0 or 1).
    double parameter(unsigned int index);
    // Runs every group on the first frames frames of the input buffers (at most kQuantum).
    bool process(unsigned int frames);

  private:
    struct Group {
        std::unique_ptr<Node> node;
        SingleBusAudioProcessorNode* processor = nullptr;
        AudioBus input;
        AudioBus output;
        AudioBusList inputs;
        AudioBusList outputs;
    };

    GroupedEffect(const extensions::audioeffects::NodeTypeEntry& entry, unsigned int channels);
    bool addGroup(unsigned int firstChannel, unsigned int count, unsigned int sampleRate);

    const extensions::audioeffects::NodeTypeEntry& entry_;
    unsigned int channels_;
    std::vector<float> samples_;
    std::vector<Group> groups_;
};

}  // namespace ostrana::web
