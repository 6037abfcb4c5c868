#pragma once

#include <functional>
#include <string>
#include <vector>

#include <ostrana/sdk/Node.h>

namespace ostrana::fx::testing {

// One node of an in-process run: its type and how to set its parameters once created.
struct NodeSetup {
    std::string type;
    std::function<void(Node&)> configure = [](Node&) {};
};

// Runs interleaved audio through nodes created by the ExtensionManager, block by block, the
// way a host does: formats offered once, then the list-level process for each block.
// Returns the last node's output, interleaved. Throws std::runtime_error on any refusal.
std::vector<float> renderInProcess(const std::vector<NodeSetup>& nodes,
                                   const std::vector<float>& interleaved, unsigned int channels,
                                   unsigned int sampleRate, unsigned int blockFrames);

}  // namespace ostrana::fx::testing
