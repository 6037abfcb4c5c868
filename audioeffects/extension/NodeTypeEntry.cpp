#include <ostrana/audioeffects/NodeTypeEntry.h>

namespace ostrana::extensions::audioeffects {

std::string NodeTypeEntry::typeName() const {
    return describe().getFQTypeName();
}

std::string NodeTypeEntry::displayName() const {
    return describe().displayName;
}

const NodeParameter* NodeTypeEntry::findParameter(std::string_view name) const {
    for (const NodeParameter& parameter : parameters) {
        if (parameter.name == name) return &parameter;
    }
    return nullptr;
}

}  // namespace ostrana::extensions::audioeffects
