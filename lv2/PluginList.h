#pragma once

#include <span>
#include <string_view>

#include "PluginVariant.h"

namespace ostrana::lv2 {

// Every plug-in of the bundle, derived from the effect catalogue: for each node type a stereo
// plug-in when it takes two channels, a mono one when it takes one, and a mono-to-stereo one
// (one input fed to both channels) for the effects whose two channels differ: the ping-pong
// delay and the swept effects. The order is the catalogue's, stereo, mono, then mono-to-stereo,
// and is the order of the binary's descriptor indices.
//
// URIs: kProjectUri + "/" + the catalogue's short name, with "-mono" appended for the mono
// plug-in and "-mono-stereo" for the mono-to-stereo one
// (https://dravolt.com/lv2/ostrana-effects/delay, .../delay-mono, .../chorus-mono-stereo).
class PluginList {
  public:
    static constexpr std::string_view kProjectUri = "https://dravolt.com/lv2/ostrana-effects";
    // The catalogue parameter that tempo sync drives: a node type that has it gets sync.
    static constexpr std::string_view kDelayTime = "delayMs";

    // Built on first use (which allocates), constant afterwards.
    static std::span<const PluginVariant> plugins();
    // The plug-in with this URI, or nullptr.
    static const PluginVariant* find(std::string_view uri);
    // The URI of the plug-in of a short name on a channel count, fed by a number of inputs.
    static std::string uriOf(std::string_view shortName, unsigned int channels,
                             unsigned int inputs);
};

}  // namespace ostrana::lv2
