#pragma once

#include <span>
#include <string_view>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>
#include <ostrana/audioeffects/Preset.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana::extensions::audioeffects {

// The one list of what the extension offers: every node type, in the factory's registration
// order, with its parameters. The factory registers from it, and every front end (the command
// line, the plug-ins, the Python module) reads it rather than naming node types or parameters
// itself. Constant data, ready before any code of the library runs.
class OSTRANA_AUDIOEFFECTS_EXPORT EffectCatalogue {
  public:
    static std::span<const NodeTypeEntry> nodeTypes();
    // The node type with this fully qualified name or short name, either in any case
    // ("AudioEffects.Delay", "audioeffects.delay", "Delay"), or nullptr.
    static const NodeTypeEntry* find(std::string_view name);

    // The factory presets of every node type: each type's together, the types in the order
    // of nodeTypes().
    static std::span<const Preset> presets();
    // The presets of the node type that find(nodeName) gives, in their order; empty for a name
    // find does not know.
    static std::span<const Preset> presetsOf(std::string_view nodeName);
    // The preset of that node type (as find takes it) with this name, in any case
    // ("slapback", "Slapback"), or nullptr.
    static const Preset* findPreset(std::string_view nodeName, std::string_view presetName);
    // Writes every parameter of the preset's node type on node, through the catalogue's
    // NodeParameter::write: the preset's value, or the default where it names none. Throws
    // std::invalid_argument, having changed nothing, for a node of another type.
    static void applyPreset(const Preset& preset, Node& node);
};

}  // namespace ostrana::extensions::audioeffects
