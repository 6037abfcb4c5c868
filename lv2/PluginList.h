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
    // The glide, and the plug-ins' default for it: hosts automate the delay time (and the
    // swept effects' sweep width) in steps (one a block or an automation point, every 1 to
    // 20 ms or so), and at the library's default of 0 each step jumps the read position and
    // clicks. 50 ms is longer than the
    // time between a host's steps, so a ramp becomes one continuous movement of the read,
    // and short enough that a new delay time (a preset, a tempo change) arrives well within a
    // beat. A host or a user can still set 0 for the library's jump.
    static constexpr std::string_view kGlide = "glide";
    static constexpr float kGlideDefaultMs = 50.0f;

    // Built on first use (which allocates), constant afterwards.
    static std::span<const PluginVariant> plugins();
    // The plug-in with this URI, or nullptr.
    static const PluginVariant* find(std::string_view uri);
    // The URI of the plug-in of a short name on a channel count, fed by a number of inputs.
    static std::string uriOf(std::string_view shortName, unsigned int channels,
                             unsigned int inputs);
};

}  // namespace ostrana::lv2
