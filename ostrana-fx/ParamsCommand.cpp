#include "ParamsCommand.h"

#include <nlohmann/json.hpp>

#include <string>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "CommandError.h"
#include "NodeCatalog.h"
#include "ParameterJson.h"
#include "TextTable.h"

namespace ostrana::fx {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::formatValue;
using extensions::audioeffects::kindName;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::unitName;

std::string channelsText(const NodeTypeEntry& entry) {
    const std::string counts =
        entry.minChannels == entry.maxChannels
            ? std::to_string(entry.minChannels)
            : std::to_string(entry.minChannels) + " to " + std::to_string(entry.maxChannels);
    return counts + (entry.maxChannels == 1 ? " channel" : " channels") +
           "; files with more are processed in independent groups of " +
           std::to_string(entry.maxChannels);
}

void printJson(const NodeTypeEntry& entry, std::ostream& out) {
    nlohmann::json parameters = nlohmann::json::array();
    for (const NodeParameter& parameter : entry.parameters) {
        parameters.push_back({{"name", parameter.name},
                              {"kind", kindName(parameter.kind)},
                              {"default", parameterJson(parameter.defaultValue)},
                              {"minimum", parameterJson(parameter.minimum)},
                              {"maximum", parameterJson(parameter.maximum)},
                              {"unit", unitName(parameter.unit)},
                              {"description", parameter.description}});
    }
    const nlohmann::json document = {{"type", entry.typeName()},
                                     {"shortName", entry.shortName},
                                     {"minChannels", entry.minChannels},
                                     {"maxChannels", entry.maxChannels},
                                     {"parameters", parameters}};
    out << document.dump(2) << "\n";
}

void printTable(const NodeTypeEntry& entry, std::ostream& out) {
    out << entry.typeName() << " (" << entry.shortName << "): " << channelsText(entry) << "\n\n";
    TextTable table({"name", "kind", "default", "range", "unit"});
    for (const NodeParameter& parameter : entry.parameters) {
        table.add({std::string(parameter.name), std::string(kindName(parameter.kind)),
                   formatValue(parameter.defaultValue), parameter.rangeText(),
                   std::string(unitName(parameter.unit))});
    }
    table.printHeadings(out);
    for (std::size_t i = 0; i < entry.parameters.size(); ++i) {
        table.printRow(i, out);
        out << "    " << entry.parameters[i].description << "\n";
    }
}

}  // namespace

void ParamsCommand::run(const std::string& nodeType, bool json, std::ostream& out) {
    const NodeTypeEntry* entry = EffectCatalogue::find(NodeCatalog::resolve(nodeType, "NODE"));
    if (entry == nullptr) {
        throw CommandError::usage("NODE: node type '" + nodeType +
                                  "' has no parameters that ostrana-fx knows of");
    }
    if (json) {
        printJson(*entry, out);
    } else {
        printTable(*entry, out);
    }
}

}  // namespace ostrana::fx
