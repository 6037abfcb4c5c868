#include "PluginTurtle.h"

#include <cctype>

#include "NoteDivision.h"
#include "PluginClassTable.h"
#include "PluginList.h"
#include "TurtleText.h"

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::ParameterUnit;

constexpr const char* kLicense = "<http://opensource.org/licenses/isc>";
constexpr const char* kProjectName = "OstranaAudioEffects";
constexpr const char* kMaintainerMail = "<mailto:maintainers@dravolt.com>";

// units:ms, units:s, units:hz; units:coef for a plain level (a gain of 1 is unity); nothing
// for a switch or a whole number without a unit.
std::string unitLine(const ControlPort& port) {
    std::string name = TurtleText::unitName(port.unit);
    if (name.empty() && port.kind == ControlPort::Kind::Real) name = "coef";
    return name.empty() ? "" : "        units:unit units:" + name + " ;\n";
}

// Whether a slider of the port reads better on a logarithmic scale: a time or a frequency
// whose range starts above zero.
bool isLogarithmic(const ControlPort& port) {
    return port.unit != ParameterUnit::None && port.minimum > 0.0f;
}

// The port's kind and properties; the effect's on/off switch is designated as the plug-in's
// bypass, which hosts may use as such.
std::string propertyLines(const ControlPort& port, bool isOnOffSwitch) {
    std::string lines;
    switch (port.kind) {
        case ControlPort::Kind::Toggle:
            lines += "        lv2:portProperty lv2:toggled ;\n";
            if (isOnOffSwitch) lines += "        lv2:designation lv2:enabled ;\n";
            break;
        case ControlPort::Kind::Integer:
            lines += "        lv2:portProperty lv2:integer ;\n";
            break;
        case ControlPort::Kind::Real:
            break;
    }
    if (isLogarithmic(port)) lines += "        lv2:portProperty pprop:logarithmic ;\n";
    return lines;
}

// Turtle's closing of a port description: the last ";" becomes the end of the blank node.
std::string closePort(std::string lines) {
    lines.erase(lines.size() - 3);
    return lines + "\n    ]";
}

// A port's description for people: the parameter's, with its unit as the port shows it, or
// the plug-in's own control's.
std::string commentOf(const ControlPort& port) {
    if (port.parameter == nullptr) return port.comment;
    std::string comment(port.parameter->description);
    if (port.perParameterUnit == 1.0f) return comment;
    const std::string seconds = "in seconds";
    const auto at = comment.find(seconds);
    if (at != std::string::npos) comment.replace(at, seconds.size(), "in milliseconds");
    return comment;
}

std::string nameOf(const ControlPort& port) {
    if (port.parameter == nullptr) return port.name;
    return TurtleText::nameForPeople(*port.parameter);
}

// The division port's choices, by value.
std::string scalePointLines(const ControlPort& port) {
    if (port.symbol != "division") return "";
    std::string points;
    const auto divisions = NoteDivisions::all();
    for (std::size_t index = 0; index < divisions.size(); ++index) {
        points += std::string(points.empty() ? "" : " , ") + "[\n            rdfs:label " +
                  TurtleText::literal(divisions[index].label) + " ;\n            rdf:value " +
                  std::to_string(index) + "\n        ]";
    }
    return "        lv2:portProperty lv2:enumeration ;\n        lv2:scalePoint " + points + " ;\n";
}

}  // namespace

std::string PluginTurtle::text(const BundleVersion& version) {
    std::string text = TurtleText::prefixes() + project();
    for (const PluginVariant& variant : PluginList::plugins()) {
        text += plugin(variant, version) + groups(variant);
    }
    return text;
}

std::string PluginTurtle::project() {
    const std::string home = TurtleText::resource(PluginList::kProjectUri);
    return home + "\n    a doap:Project ;\n    doap:name " + TurtleText::literal(kProjectName) +
           " ;\n    doap:homepage " + home + " ;\n    doap:license " + kLicense +
           " ;\n    doap:maintainer [\n        foaf:name " + TurtleText::literal(kProjectName) +
           " ;\n        foaf:mbox " + kMaintainerMail + " ;\n        foaf:homepage " + home +
           "\n    ] .\n\n";
}

std::string PluginTurtle::shortDescription(const PluginVariant& variant) {
    const char* layout = variant.channels == 1 ? "mono"
                         : variant.inputs == 1 ? "mono to stereo"
                                               : "stereo";
    return variant.entry->displayName() + " effect, " + layout;
}

std::string PluginTurtle::plugin(const PluginVariant& variant, const BundleVersion& version) {
    const std::string_view lv2Class = PluginClassTable::classOf(variant.entry->shortName);
    std::string text = TurtleText::resource(variant.uri) + "\n    a lv2:Plugin";
    if (lv2Class != "Plugin") text += ", lv2:" + std::string(lv2Class);
    text += " ;\n    lv2:project " + TurtleText::resource(PluginList::kProjectUri) + " ;\n";
    text += "    doap:name " + TurtleText::literal(variant.name) + " ;\n";
    text += "    doap:shortdesc " + TurtleText::literal(shortDescription(variant)) + " ;\n";
    text += "    doap:license " + std::string(kLicense) + " ;\n";
    text +=
        "    rdfs:comment " + TurtleText::literal(variant.entry->describe().description) + " ;\n";
    // Released minor versions are even, as LV2 reads them (odd is a development version).
    text += "    lv2:minorVersion " + std::to_string(2 * version.minor) + " ;\n";
    text += "    lv2:microVersion " + std::to_string(version.micro) + " ;\n";
    text += "    lv2:optionalFeature lv2:hardRTCapable ;\n";
    // The tempo of a synced delay comes in atoms, whose types the host's map names.
    if (variant.tempoSync) text += "    lv2:optionalFeature urid:map ;\n";
    text += "    pg:mainInput " + TurtleText::resource(groupUri(variant, true)) + " ;\n";
    text += "    pg:mainOutput " + TurtleText::resource(groupUri(variant, false)) + " ;\n";
    text += "    lv2:port ";
    std::string ports;
    for (bool input : {true, false}) {
        for (unsigned int channel = 0; channel < (input ? variant.inputs : variant.channels);
             ++channel) {
            ports += (ports.empty() ? "" : " , ") + audioPort(variant, input, channel);
        }
    }
    for (std::size_t index = 0; index < variant.controls.size(); ++index) {
        ports += " , " + controlPort(variant, index);
    }
    if (variant.tempoSync) ports += " , " + timePort(variant);
    return text + ports + " .\n\n";
}

std::string PluginTurtle::groupUri(const PluginVariant& variant, bool input) {
    return variant.uri + (input ? "#in" : "#out");
}

std::string PluginTurtle::groups(const PluginVariant& variant) {
    std::string text;
    for (bool input : {true, false}) {
        const bool stereo = (input ? variant.inputs : variant.channels) == 2;
        text += TurtleText::resource(groupUri(variant, input)) + "\n    a " +
                (stereo ? "pg:StereoGroup" : "pg:MonoGroup") + ", " +
                (input ? "pg:InputGroup" : "pg:OutputGroup") + " ;\n    lv2:symbol " +
                TurtleText::literal(input ? "in" : "out") + " ;\n    rdfs:label " +
                TurtleText::literal(input ? "Input" : "Output") + " .\n\n";
    }
    return text;
}

std::string PluginTurtle::audioPort(const PluginVariant& variant, bool input,
                                    unsigned int channel) {
    const std::uint32_t index =
        input ? variant.audioInputPort(channel) : variant.audioOutputPort(channel);
    const unsigned int count = input ? variant.inputs : variant.channels;
    const char* designation = count == 1 ? "pg:center" : channel == 0 ? "pg:left" : "pg:right";
    const char* side = count == 1 ? "" : channel == 0 ? "Left " : "Right ";
    std::string comment = std::string(side) + (input ? "input" : "output");
    if (input && variant.inputs < variant.channels) comment += ", fed to both channels";
    comment.front() = static_cast<char>(std::toupper(comment.front()));
    return closePort(
        "[\n        a lv2:AudioPort, " + std::string(input ? "lv2:InputPort" : "lv2:OutputPort") +
        " ;\n        lv2:index " + std::to_string(index) + " ;\n        lv2:symbol " +
        TurtleText::literal(variant.audioPortSymbol(input, channel)) + " ;\n        lv2:name " +
        TurtleText::literal(variant.audioPortName(input, channel)) + " ;\n        rdfs:comment " +
        TurtleText::literal(comment) + " ;\n        pg:group " +
        TurtleText::resource(groupUri(variant, input)) + " ;\n        lv2:designation " +
        designation + " ;\n");
}

std::string PluginTurtle::controlPort(const PluginVariant& variant, std::size_t index) {
    const ControlPort& port = variant.controls[index];
    const bool isOnOffSwitch =
        port.parameter != nullptr && port.parameter == variant.entry->onOffSwitch();
    std::string lines = "[\n        a lv2:ControlPort, lv2:InputPort ;\n";
    lines += "        lv2:index " + std::to_string(variant.controlPort(index)) + " ;\n";
    lines += "        lv2:symbol " + TurtleText::literal(port.symbol) + " ;\n";
    lines += "        lv2:name " + TurtleText::literal(nameOf(port)) + " ;\n";
    lines += "        rdfs:comment " + TurtleText::literal(commentOf(port)) + " ;\n";
    lines += "        lv2:default " + TurtleText::number(port, port.defaultValue) + " ;\n";
    lines += "        lv2:minimum " + TurtleText::number(port, port.minimum) + " ;\n";
    lines += "        lv2:maximum " + TurtleText::number(port, port.maximum) + " ;\n";
    lines += unitLine(port) + propertyLines(port, isOnOffSwitch) + scalePointLines(port);
    return closePort(lines);
}

std::string PluginTurtle::timePort(const PluginVariant& variant) {
    return closePort(
        "[\n        a atom:AtomPort, lv2:InputPort ;\n        lv2:index " +
        std::to_string(variant.timePort()) +
        " ;\n        lv2:symbol \"time\" ;\n        lv2:name \"Host time\" ;\n"
        "        rdfs:comment \"The host's tempo (time:Position), which the delay time follows "
        "when sync is on.\" ;\n        atom:bufferType atom:Sequence ;\n"
        "        atom:supports time:Position ;\n"
        "        lv2:portProperty lv2:connectionOptional ;\n");
}

}  // namespace ostrana::lv2
