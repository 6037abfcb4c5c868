#include "ManifestTurtle.h"

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "PluginList.h"
#include "PluginTurtle.h"
#include "PresetTurtle.h"
#include "TurtleText.h"

namespace ostrana::lv2 {

using extensions::audioeffects::EffectCatalogue;

std::string ManifestTurtle::text(const std::string& binaryFileName) {
    std::string text = TurtleText::prefixes();
    for (const PluginVariant& plugin : PluginList::plugins()) {
        text += TurtleText::resource(plugin.uri) + "\n    a lv2:Plugin ;\n    lv2:binary " +
                TurtleText::resource(binaryFileName) + " ;\n    rdfs:seeAlso " +
                TurtleText::resource(PluginTurtle::kFileName) + " , " +
                TurtleText::resource(PresetTurtle::kFileName) + " .\n\n";
    }
    for (const Preset& preset : EffectCatalogue::presets()) {
        const std::string plugins = PresetTurtle::appliesTo(preset);
        if (plugins.empty()) continue;
        text += TurtleText::resource(PresetTurtle::uriOf(preset)) +
                "\n    a pset:Preset ;\n    lv2:appliesTo " + plugins + " ;\n    rdfs:seeAlso " +
                TurtleText::resource(PresetTurtle::kFileName) + " .\n\n";
    }
    return text;
}

}  // namespace ostrana::lv2
