// The two lookups of the node type record. They are built into libOstranaSDK, so that the
// host and every extension share one definition.
#include <stdexcept>

#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana {

std::string NodeTypeInfo::getFQTypeName() const {
    std::string name = type;
    name += ".";
    name += subtype;
    return name;
}

XVAnyMap NodeTypeInfo::getProperty(const std::string& key) const {
    if (!properties.hasKey(key)) {
        throw std::runtime_error("[NodeTypeInfo] Property key '" + key +
                                 "' not found for node type '" + getFQTypeName() + "'.");
    }
    const XVAny schema = properties.at(key);
    return XVAny::convert<XVAnyMap>(schema);
}

}  // namespace ostrana
