#pragma once

#include <span>
#include <string_view>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>
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
};

}  // namespace ostrana::extensions::audioeffects
