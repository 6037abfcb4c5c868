#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <ostrana/audioeffects/NodeTypeEntry.h>

#include "ControlPort.h"

namespace ostrana::lv2 {

// One LV2 plug-in of the bundle: a node type of the catalogue run on a fixed channel count,
// fed by as many inputs or, for a mono-to-stereo plug-in, by one input given to every channel.
//
// Ports, in index order: the audio inputs (one per input), the audio outputs (one per
// channel), then the control inputs: one per catalogue parameter, in the catalogue's order,
// then the plug-in's own. A delay has tempo sync: two controls of its own, sync and division,
// and last an atom input, time, on which the host sends its tempo.
struct PluginVariant {
    const extensions::audioeffects::NodeTypeEntry* entry = nullptr;
    unsigned int channels = 0;
    // The audio inputs: channels, or 1 for a mono-to-stereo plug-in.
    unsigned int inputs = 0;
    // The catalogue's fully qualified node type name, by which the plug-in creates its node.
    std::string typeName;
    // The plug-in's stable URI and its name for people.
    std::string uri;
    std::string name;
    // The control inputs, in port order; the first ones are the catalogue's parameters.
    std::vector<ControlPort> controls;
    bool tempoSync = false;

    std::uint32_t portCount() const;
    std::uint32_t audioInputPort(unsigned int channel) const { return channel; }
    std::uint32_t audioOutputPort(unsigned int channel) const { return inputs + channel; }
    std::uint32_t controlPort(std::size_t parameter) const {
        return inputs + channels + static_cast<std::uint32_t>(parameter);
    }
    // The time port of a plug-in with tempo sync.
    std::uint32_t timePort() const { return controlPort(controls.size()); }
    // The input port that feeds a channel of the node.
    unsigned int inputOf(unsigned int channel) const { return channel < inputs ? channel : 0; }
    // The symbol and name of an audio port: "in"/"out" alone, "in_l"/"out_r" in pairs.
    std::string audioPortSymbol(bool input, unsigned int channel) const;
    std::string audioPortName(bool input, unsigned int channel) const;
};

}  // namespace ostrana::lv2
