#pragma once

#include <string>

namespace ostrana::lv2 {

// The bundle's manifest.ttl: each plug-in with its binary and its data file, and each factory
// preset with the plug-ins it applies to, so that hosts find them without loading the rest.
class ManifestTurtle {
  public:
    static constexpr const char* kFileName = "manifest.ttl";

    static std::string text(const std::string& binaryFileName);
};

}  // namespace ostrana::lv2
