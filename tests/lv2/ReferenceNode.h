#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

#include "ExpectedPlugins.h"

namespace ostrana::lv2::testing {

// Planar audio: one vector of frames per channel.
using Channels = std::vector<std::vector<float>>;

// What a plug-in must compute: a node of its type made through the host library, run on its
// own buses, with every control value written before every block (a mono-to-stereo plug-in's
// node given input channel 0 on both channels).
class ReferenceNode {
  public:
    static constexpr unsigned int kMostFrames = 16384;

    ReferenceNode(const ExpectedPlugin& plugin, unsigned int sampleRate);
    // The control value of the parameter at this index, as a port would carry it.
    void setControl(std::size_t parameter, float value) { controls_[parameter] = value; }
    // The output for frames of input starting at offset (at most kMostFrames).
    Channels process(const Channels& input, std::size_t offset, unsigned int frames);

  private:
    const ExpectedPlugin& plugin_;
    std::unique_ptr<Node> node_;
    SingleBusAudioProcessorNode* processor_ = nullptr;
    std::vector<float> controls_;
    AudioBus in_;
    AudioBus out_;
};

// Input as the plug-in's node hears it: for a mono-to-stereo plug-in, channel 0 on every
// channel; otherwise as given.
Channels asHeard(const ExpectedPlugin& plugin, Channels input);

// The input signal of the run tests: noise, sines and impulses, different on each channel.
Channels makeInput(unsigned int channels, std::size_t frames, unsigned int sampleRate);

}  // namespace ostrana::lv2::testing
