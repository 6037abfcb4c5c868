#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <vector>

#include "BlockRunner.h"
#include "EffectNode.h"

namespace ostrana::python {

// One call of effects on an array: checks what it is given, renews or continues the nodes,
// agrees the formats, then runs the blocks with Python's interpreter lock released.
class EffectCall {
  public:
    // The largest block, as the command line takes.
    static constexpr unsigned int kLargestBlock = 1u << 20;

    // The audio: C-contiguous float32, so its rows are read where they lie.
    using Audio = pybind11::array_t<float, pybind11::array::c_style>;

    struct Request {
        unsigned int sampleRate = 0;
        unsigned int blockFrames = 0;
        // Frames processed since the nodes were last renewed; blocks continue that grid.
        std::uint64_t position = 0;
        bool reset = true;
    };

    // Runs nodes, in order, over audio: a C-contiguous float32 array of shape (channels,
    // frames). Returns a new float32 array of the same shape. Throws pybind11::value_error for
    // what the caller gave wrongly (a channel count a node does not take, a block size out of
    // range, continuing at another rate or channel count) and std::runtime_error when a node
    // is already processing in another call.
    static pybind11::array_t<float> run(const std::vector<EffectNode*>& nodes, const Audio& audio,
                                        const Request& request);

  private:
    static void checkRequest(const std::vector<EffectNode*>& nodes, const Audio& audio,
                             const Request& request);
    // The node's stage for audio of channels channels: the node alone, or the nodes of its
    // channel groups. Throws pybind11::value_error when it can be neither.
    static BlockRunner::Stage stageFor(EffectNode& node, unsigned int channels);
    static void checkContinuation(EffectNode& node, unsigned int channels, unsigned int sampleRate);
};

}  // namespace ostrana::python
