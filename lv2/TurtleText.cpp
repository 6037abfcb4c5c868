#include "TurtleText.h"

#include <cctype>
#include <vector>

namespace ostrana::lv2 {

namespace {

using extensions::audioeffects::ParameterDefinition;
using extensions::audioeffects::ParameterValue;

bool isUpper(char c) {
    return std::isupper(static_cast<unsigned char>(c)) != 0;
}

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// "feedbackLevel" -> {"feedback", "level"}
std::vector<std::string> camelCaseWords(std::string_view name) {
    std::vector<std::string> words;
    for (char c : name) {
        if (words.empty() || isUpper(c)) words.emplace_back();
        words.back() += lower(c);
    }
    return words;
}

}  // namespace

std::string TurtleText::prefixes() {
    return "@prefix atom:  <http://lv2plug.in/ns/ext/atom#> .\n"
           "@prefix doap:  <http://usefulinc.com/ns/doap#> .\n"
           "@prefix foaf:  <http://xmlns.com/foaf/0.1/> .\n"
           "@prefix lv2:   <http://lv2plug.in/ns/lv2core#> .\n"
           "@prefix pg:    <http://lv2plug.in/ns/ext/port-groups#> .\n"
           "@prefix pprop: <http://lv2plug.in/ns/ext/port-props#> .\n"
           "@prefix pset:  <http://lv2plug.in/ns/ext/presets#> .\n"
           "@prefix rdf:   <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n"
           "@prefix rdfs:  <http://www.w3.org/2000/01/rdf-schema#> .\n"
           "@prefix time:  <http://lv2plug.in/ns/ext/time#> .\n"
           "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
           "@prefix urid:  <http://lv2plug.in/ns/ext/urid#> .\n\n";
}

std::string TurtleText::literal(std::string_view text) {
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c == '\n' ? ' ' : c;
    }
    return quoted + "\"";
}

std::string TurtleText::resource(std::string_view uri) {
    std::string text(1, '<');
    text += uri;
    text += '>';
    return text;
}

std::string TurtleText::number(const ControlPort& port, float value) {
    if (port.kind == ControlPort::Kind::Real) return decimal(value);
    return std::to_string(static_cast<long long>(value));
}

std::string TurtleText::decimal(float value) {
    std::string text = extensions::audioeffects::formatValue(value);
    if (text.find_first_of(".eE") == std::string::npos) text += ".0";
    return text;
}

std::string TurtleText::unitName(extensions::audioeffects::ParameterUnit unit) {
    // The LV2 units vocabulary spells the others as their symbols do, in lower case.
    if (unit == extensions::audioeffects::ParameterUnit::Degrees) return "degree";
    std::string name;
    for (char c : unitSymbol(unit)) name += lower(c);
    return name;
}

std::string TurtleText::nameForPeople(const ParameterDefinition& parameter) {
    std::vector<std::string> words = camelCaseWords(parameter.name);
    const std::string unit = unitName(parameter.unit);
    if (words.size() > 1 && !unit.empty() && words.back() == unit) words.pop_back();
    std::string name;
    for (const std::string& word : words) name += (name.empty() ? "" : " ") + word;
    if (!name.empty()) name.front() = static_cast<char>(std::toupper(name.front()));
    return name;
}

}  // namespace ostrana::lv2
