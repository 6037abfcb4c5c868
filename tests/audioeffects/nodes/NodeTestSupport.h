#pragma once

#include <ostrana/sdk/AudioBusFormat.h>

// Helpers shared by the tests of every effect node.
namespace ostrana::nodetest {

// Whether the node accepts the pair of formats, each handed over as a copy for it to match.
template <typename Node>
bool accepts(Node& node, AudioBusFormat input, AudioBusFormat output) {
    return node.setBusFormat(input, output);
}

}  // namespace ostrana::nodetest
