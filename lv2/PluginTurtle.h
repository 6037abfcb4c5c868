#pragma once

#include <string>

#include "PluginVariant.h"

namespace ostrana::lv2 {

// The release a bundle describes, as LV2's minorVersion and microVersion.
struct BundleVersion {
    unsigned int minor = 0;
    unsigned int micro = 0;
};

// The bundle's main Turtle file: the project and every plug-in with its ports and port groups,
// all from the catalogue (names, defaults, ranges, units, kinds, as each plug-in's ControlPort
// shows them) and the LV2 class table. The bundle's version minor is written doubled as
// lv2:minorVersion (even, as LV2 wants of a release), its patch as lv2:microVersion.
class PluginTurtle {
  public:
    static constexpr const char* kFileName = "ostrana-effects.ttl";

    static std::string text(const BundleVersion& version);

  private:
    static std::string project();
    static std::string shortDescription(const PluginVariant& variant);
    static std::string plugin(const PluginVariant& variant, const BundleVersion& version);
    // The port groups of the audio inputs and outputs: <plug-in URI#in> and #out.
    static std::string groupUri(const PluginVariant& variant, bool input);
    static std::string groups(const PluginVariant& variant);
    static std::string audioPort(const PluginVariant& variant, bool input, unsigned int channel);
    static std::string controlPort(const PluginVariant& variant, std::size_t index);
    // A synced delay's atom input, on which the host sends time:Position.
    static std::string timePort(const PluginVariant& variant);
};

}  // namespace ostrana::lv2
