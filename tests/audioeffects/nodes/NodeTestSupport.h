#pragma once

#include <gtest/gtest.h>

#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/AudioBusList.h>

// Helpers shared by the tests of every effect node.
namespace ostrana::nodetest {

// Whether the node accepts the pair of formats, each handed over as a copy for it to match.
template <typename Node>
bool accepts(Node& node, AudioBusFormat input, AudioBusFormat output) {
    return node.setBusFormat(input, output);
}

// Negotiates a format of the channel count at the rate through the list-level call, as a host
// does before processing, and expects the node to accept it.
template <typename Node>
void negotiate(Node& node, unsigned int channels, unsigned int sampleRate) {
    AudioBusFormatList inputs{AudioBusFormat{channels, sampleRate, 0}};
    AudioBusFormatList outputs{AudioBusFormat{channels, sampleRate, 0}};
    ASSERT_TRUE(node.setBusFormats(inputs, outputs));
}

}  // namespace ostrana::nodetest
