#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::python {

// Runs stages of nodes one after another over planar audio that the caller owns, block by
// block, with no copy of the input: the first stage reads the input rows where they lie and
// writes the output rows; every later stage processes the output rows in place. A stage is
// one node on all the channels, or several nodes of one type, each on its own group of
// neighbouring channels. Made (and its formats agreed) before processing; run allocates
// nothing, takes no lock and never throws, so it may run with Python's interpreter lock
// released.
class BlockRunner {
  public:
    // One node of a stage and the channels it works on: count channels from first.
    struct Member {
        SingleBusAudioProcessorNode* processor;
        unsigned int first;
        unsigned int count;
    };
    using Stage = std::vector<Member>;

    BlockRunner(const std::vector<Stage>& stages, unsigned int channels, unsigned int sampleRate,
                unsigned int blockFrames);
    ~BlockRunner();
    BlockRunner(const BlockRunner&) = delete;
    BlockRunner& operator=(const BlockRunner&) = delete;

    // Offers every node the format of the blocks it will get; the index of the first stage
    // with a node that refuses it, or nothing when all accept.
    std::optional<std::size_t> negotiate();

    // Processes frames frames of channels rows: input[c] to output[c]. The first block has
    // firstBlockFrames frames (at most the block size), so that blocks continue the grid of an
    // earlier call; the others have the block size, the last what is left. Returns the index of
    // a stage with a node that refused a block, or nothing.
    std::optional<std::size_t> run(const float* const* input, float* const* output,
                                   std::size_t frames, std::size_t firstBlockFrames);

  private:
    // A member with its views of the rows it reads and writes.
    struct Group {
        Member member;
        std::unique_ptr<AudioBus> input;
        std::unique_ptr<AudioBus> output;
        AudioBusList inputs;
        AudioBusList outputs;
    };

    static std::unique_ptr<AudioBus> view(unsigned int channels, unsigned int sampleRate,
                                          unsigned int blockFrames);
    // Points the views at frames [first, first + count) of the rows.
    void attach(const float* const* input, float* const* output, std::size_t first,
                unsigned int count);
    std::optional<std::size_t> processBlock();

    std::vector<std::vector<Group>> stages_;
    unsigned int channels_;
    unsigned int sampleRate_;
    unsigned int blockFrames_;
    // All the channels, for a run with no stages: the input copied to the output.
    std::unique_ptr<AudioBus> input_;
    std::unique_ptr<AudioBus> output_;
};

}  // namespace ostrana::python
