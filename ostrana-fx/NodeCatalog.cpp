#include "NodeCatalog.h"

#include <strings.h>

#include <utility>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "CommandError.h"
#include "Suggestion.h"
#include "TextList.h"

namespace ostrana::fx {

std::vector<std::string> NodeCatalog::typeNames() {
    return ExtensionManager::getInstance().getNodeTypeNames();
}

std::string NodeCatalog::describeTypeNames() {
    return TextList::join(typeNames());
}

std::vector<std::string> NodeCatalog::knownNames() {
    std::vector<std::string> names = typeNames();
    for (const auto& entry : extensions::audioeffects::EffectCatalogue::nodeTypes()) {
        names.emplace_back(entry.shortName);
    }
    return names;
}

std::string NodeCatalog::resolve(const std::string& name, const std::string& where) {
    if (const auto* entry = extensions::audioeffects::EffectCatalogue::find(name)) {
        return entry->typeName();
    }
    for (const std::string& type : typeNames()) {
        if (strcasecmp(type.c_str(), name.c_str()) == 0) return type;
    }
    throw CommandError::usage(unknownTypeMessage(name, where));
}

std::string NodeCatalog::unknownTypeMessage(const std::string& type, const std::string& where) {
    return where + ": unknown node type '" + type + "'" +
           Suggestion::didYouMean(type, knownNames()) + " (known types: " + describeTypeNames() +
           "; see ostrana-fx list)";
}

NodeTypeInfo NodeCatalog::findType(const std::string& type, const std::string& where) {
    Result<NodeTypeInfo> found = ExtensionManager::getInstance().findNodeType(type);
    if (!found.isOk()) throw CommandError::usage(unknownTypeMessage(type, where));
    return std::move(found).value();
}

std::unique_ptr<Node> NodeCatalog::createNode(const std::string& type, const std::string& where) {
    ExtensionManager& manager = ExtensionManager::getInstance();
    if (!manager.findNodeType(type).isOk()) {
        throw CommandError::usage(unknownTypeMessage(type, where));
    }
    Result<std::unique_ptr<Node>> created = manager.createNode(type, XVAnyMap());
    if (!created.isOk()) {
        throw CommandError::failure(where + ": cannot create a node of type '" + type +
                                    "': " + created.errorMessage());
    }
    return std::move(created).value();
}

}  // namespace ostrana::fx
