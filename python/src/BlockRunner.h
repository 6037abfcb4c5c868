#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

namespace ostrana::python {

// Runs nodes one after another over planar audio that the caller owns, block by block, with
// no copy of the input: the first node reads the input rows where they lie and writes the
// output rows; every later node processes the output rows in place. Made (and its formats
// agreed) before processing; run allocates nothing, takes no lock and never throws, so it may
// run with Python's interpreter lock released.
class BlockRunner {
  public:
    BlockRunner(std::vector<SingleBusAudioProcessorNode*> processors, unsigned int channels,
                unsigned int sampleRate, unsigned int blockFrames);

    // Offers every node the format of the blocks it will get; the index of the first node
    // that refuses it, or nothing when all accept.
    std::optional<std::size_t> negotiate();

    // Processes frames frames of channels rows: input[c] to output[c]. The first block has
    // firstBlockFrames frames (at most the block size), so that blocks continue the grid of an
    // earlier call; the others have the block size, the last what is left. Returns the index of
    // a node that refused a block, or nothing.
    std::optional<std::size_t> run(const float* const* input, float* const* output,
                                   std::size_t frames, std::size_t firstBlockFrames);

  private:
    // Points the views at frames [first, first + count) of the rows.
    void attach(const float* const* input, float* const* output, std::size_t first,
                unsigned int count);
    std::optional<std::size_t> processBlock();

    std::vector<SingleBusAudioProcessorNode*> processors_;
    unsigned int channels_;
    unsigned int sampleRate_;
    unsigned int blockFrames_;
    AudioBus input_;
    AudioBus output_;
    AudioBusList firstInputs_;
    AudioBusList outputs_;
};

}  // namespace ostrana::python
