#include "ListCommand.h"

#include <memory>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/ExtensionManager.h>

#include "TextList.h"

namespace ostrana::fx {

namespace {

using extensions::audioeffects::EffectCatalogue;
using extensions::audioeffects::NodeTypeEntry;

void listNodeType(std::ostream& out, const NodeTypeInfo& info) {
    const std::string typeName = info.getFQTypeName();
    const NodeTypeEntry* entry = EffectCatalogue::find(typeName);
    out << "  " << typeName;
    if (entry != nullptr) out << " (" << entry->shortName << ")";
    out << "\n";
    out << "    display name: " << info.displayName << "\n";
    out << "    description:  " << info.description << "\n";
    out << "    categories:   " << TextList::join(info.categories) << "\n";
}

}  // namespace

void ListCommand::run(std::ostream& out) {
    const std::vector<std::shared_ptr<Extension>> extensions =
        ExtensionManager::getInstance().getExtensions();
    if (extensions.empty()) {
        out << "No extensions are registered.\n";
        return;
    }
    bool first = true;
    for (const std::shared_ptr<Extension>& extension : extensions) {
        if (!first) out << "\n";
        first = false;
        out << "Extension " << extension->getName() << ": " << extension->getDescription() << "\n";
        const std::vector<NodeTypeInfo> types = extension->getNodeFactory()->getNodeTypes();
        if (types.empty()) out << "  (no node types)\n";
        for (const NodeTypeInfo& info : types) listNodeType(out, info);
    }
}

}  // namespace ostrana::fx
