#include "ParamsCommand.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <type_traits>
#include <variant>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "CommandError.h"
#include "NodeCatalog.h"

namespace ostrana::fx {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::formatValue;
using extensions::audioeffects::kindName;
using extensions::audioeffects::NodeParameter;
using extensions::audioeffects::NodeTypeEntry;
using extensions::audioeffects::ParameterValue;
using extensions::audioeffects::unitName;

// A float as the shortest decimal that reads back as it (0.2, not 0.20000000298023224, the
// float widened to a double).
nlohmann::json jsonValue(const ParameterValue& value) {
    return std::visit(
        [](auto held) {
            if constexpr (std::is_same_v<decltype(held), float>) {
                char text[32];
                const auto end = std::to_chars(text, text + sizeof text, held).ptr;
                return nlohmann::json(std::strtod(std::string(text, end).c_str(), nullptr));
            } else {
                return nlohmann::json(held);
            }
        },
        value);
}

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
                              {"default", jsonValue(parameter.defaultValue)},
                              {"minimum", jsonValue(parameter.minimum)},
                              {"maximum", jsonValue(parameter.maximum)},
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
    const std::vector<std::string> headings = {"name", "kind", "default", "range", "unit"};
    std::vector<std::vector<std::string>> rows;
    for (const NodeParameter& parameter : entry.parameters) {
        rows.push_back({std::string(parameter.name), std::string(kindName(parameter.kind)),
                        formatValue(parameter.defaultValue), parameter.rangeText(),
                        std::string(unitName(parameter.unit))});
    }
    std::vector<std::size_t> widths;
    for (const std::string& heading : headings) widths.push_back(heading.size());
    for (const auto& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    const auto printRow = [&](const std::vector<std::string>& row) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column] + std::string(widths[column] - row[column].size() + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << "\n";
    };
    printRow(headings);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        printRow(rows[i]);
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
