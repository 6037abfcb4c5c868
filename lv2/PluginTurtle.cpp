#include "PluginTurtle.h"

#include "PluginClassTable.h"
#include "PluginList.h"
#include "TurtleText.h"

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterUnit;

constexpr const char* kLicense = "<http://opensource.org/licenses/isc>";
constexpr const char* kProjectName = "OstranaAudioEffects";

// units:ms, units:s, units:hz, or nothing.
std::string unitLine(ParameterUnit unit) {
    const std::string name = TurtleText::unitName(unit);
    return name.empty() ? "" : "        units:unit units:" + name + " ;\n";
}

// The port's kind; the effect's on/off switch is designated as the plug-in's bypass, which
// hosts may use as such.
std::string kindLines(const NodeParameter& parameter, bool isOnOffSwitch) {
    switch (parameter.kind) {
        case ParameterKind::Switch:
            return isOnOffSwitch ? "        lv2:portProperty lv2:toggled ;\n"
                                   "        lv2:designation lv2:enabled ;\n"
                                 : "        lv2:portProperty lv2:toggled ;\n";
        case ParameterKind::WholeNumber:
            return "        lv2:portProperty lv2:integer ;\n";
        case ParameterKind::RealNumber:
            break;
    }
    return "";
}

// Turtle's closing of a port description: the last ";" becomes the end of the blank node.
std::string closePort(std::string lines) {
    lines.erase(lines.size() - 3);
    return lines + "\n    ]";
}

}  // namespace

std::string PluginTurtle::text(const BundleVersion& version) {
    std::string text = TurtleText::prefixes() + project();
    for (const PluginVariant& variant : PluginList::plugins()) text += plugin(variant, version);
    return text;
}

std::string PluginTurtle::project() {
    const std::string home = TurtleText::resource(PluginList::kProjectUri);
    return home + "\n    a doap:Project ;\n    doap:name " + TurtleText::literal(kProjectName) +
           " ;\n    doap:homepage " + home + " ;\n    doap:license " + kLicense +
           " ;\n    doap:maintainer [\n        foaf:name " + TurtleText::literal(kProjectName) +
           " ;\n        foaf:homepage " + home + "\n    ] .\n\n";
}

std::string PluginTurtle::plugin(const PluginVariant& variant, const BundleVersion& version) {
    const std::string_view lv2Class = PluginClassTable::classOf(variant.entry->shortName);
    std::string text = TurtleText::resource(variant.uri) + "\n    a lv2:Plugin";
    if (lv2Class != "Plugin") text += ", lv2:" + std::string(lv2Class);
    text += " ;\n    lv2:project " + TurtleText::resource(PluginList::kProjectUri) + " ;\n";
    text += "    doap:name " + TurtleText::literal(variant.name) + " ;\n";
    text += "    doap:license " + std::string(kLicense) + " ;\n";
    text +=
        "    rdfs:comment " + TurtleText::literal(variant.entry->describe().description) + " ;\n";
    text += "    lv2:minorVersion " + std::to_string(version.minor) + " ;\n";
    text += "    lv2:microVersion " + std::to_string(version.micro) + " ;\n";
    text += "    lv2:optionalFeature lv2:hardRTCapable ;\n    lv2:port ";
    std::string ports;
    for (bool input : {true, false}) {
        for (unsigned int channel = 0; channel < (input ? variant.inputs : variant.channels);
             ++channel) {
            ports += (ports.empty() ? "" : " , ") + audioPort(variant, input, channel);
        }
    }
    for (std::size_t index = 0; index < variant.entry->parameters.size(); ++index) {
        ports += " , " + controlPort(variant, index);
    }
    return text + ports + " .\n\n";
}

std::string PluginTurtle::audioPort(const PluginVariant& variant, bool input,
                                    unsigned int channel) {
    const std::uint32_t index =
        input ? variant.audioInputPort(channel) : variant.audioOutputPort(channel);
    return closePort(
        "[\n        a lv2:AudioPort, " + std::string(input ? "lv2:InputPort" : "lv2:OutputPort") +
        " ;\n        lv2:index " + std::to_string(index) + " ;\n        lv2:symbol " +
        TurtleText::literal(variant.audioPortSymbol(input, channel)) + " ;\n        lv2:name " +
        TurtleText::literal(variant.audioPortName(input, channel)) + " ;\n");
}

std::string PluginTurtle::controlPort(const PluginVariant& variant, std::size_t parameter) {
    const NodeParameter& definition = variant.entry->parameters[parameter];
    std::string lines = "[\n        a lv2:ControlPort, lv2:InputPort ;\n";
    lines += "        lv2:index " + std::to_string(variant.controlPort(parameter)) + " ;\n";
    lines += "        lv2:symbol " + TurtleText::literal(definition.name) + " ;\n";
    lines +=
        "        lv2:name " + TurtleText::literal(TurtleText::nameForPeople(definition)) + " ;\n";
    lines += "        rdfs:comment " + TurtleText::literal(definition.description) + " ;\n";
    lines += "        lv2:default " + TurtleText::number(definition.defaultValue) + " ;\n";
    lines += "        lv2:minimum " + TurtleText::number(definition.minimum) + " ;\n";
    lines += "        lv2:maximum " + TurtleText::number(definition.maximum) + " ;\n";
    lines += unitLine(definition.unit) +
             kindLines(definition, &definition == variant.entry->onOffSwitch());
    return closePort(lines);
}

}  // namespace ostrana::lv2
