#pragma once

#include <span>
#include <string_view>

#include "PluginVariant.h"

namespace ostrana::lv2 {

// Every plug-in of the bundle, derived from the effect catalogue: for each node type a stereo
// plug-in when it takes two channels and a mono one when it takes one. The order is the
// catalogue's, stereo before mono, and is the order of the binary's descriptor indices.
//
// URIs: kProjectUri + "/" + the catalogue's short name, with "-mono" appended for the mono
// plug-in (https://dravolt.com/lv2/ostrana-effects/delay, .../delay-mono).
class PluginList {
  public:
    static constexpr std::string_view kProjectUri = "https://dravolt.com/lv2/ostrana-effects";

    // Built on first use (which allocates), constant afterwards.
    static std::span<const PluginVariant> plugins();
    // The plug-in with this URI, or nullptr.
    static const PluginVariant* find(std::string_view uri);
    // The URI of the plug-in of a short name on a channel count.
    static std::string uriOf(std::string_view shortName, unsigned int channels);
};

}  // namespace ostrana::lv2
