#include "ListCommand.h"

#include <memory>
#include <string>
#include <vector>

#include <ostrana/sdk/ExtensionManager.h>

namespace ostrana::fx {

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text.empty() ? "none" : text;
}

void listNodeType(std::ostream& out, const NodeTypeInfo& info) {
    out << "  " << info.getFQTypeName() << "\n";
    out << "    display name: " << info.displayName << "\n";
    out << "    description:  " << info.description << "\n";
    out << "    categories:   " << joined(info.categories) << "\n";
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
