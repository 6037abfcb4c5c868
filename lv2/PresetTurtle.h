#pragma once

#include <string>

#include <ostrana/audioeffects/Preset.h>

namespace ostrana::lv2 {

using extensions::audioeffects::Preset;

// The bundle's factory presets: each of the catalogue's presets, for every plug-in of its node
// type, with a value for every control port (the catalogue's default where the preset names
// none).
class PresetTurtle {
  public:
    static constexpr const char* kFileName = "presets.ttl";

    // Throws std::invalid_argument when a preset names a parameter the catalogue does not have
    // for its node type, or a value outside the parameter's range.
    static std::string text();
    // kProjectUri + "/presets/" + node type + "-" + preset name.
    static std::string uriOf(const Preset& preset);
    // The plug-ins a preset applies to, those of its node type, as a Turtle object list;
    // empty when the catalogue has no such node type.
    static std::string appliesTo(const Preset& preset);

  private:
    static std::string preset(const Preset& preset);
};

}  // namespace ostrana::lv2
