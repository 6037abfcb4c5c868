#include <utility>

#include <ostrana/sdk/OstranaObject.h>

namespace ostrana {

OstranaObject::OstranaObject(const std::string& objectType) : objectType_(objectType) {}

OstranaObject::~OstranaObject() = default;

const OstranaObject::Property* OstranaObject::findProperty(const std::string& name) const {
    for (const Property& property : properties_) {
        if (property.name == name) return &property;
    }
    return nullptr;
}

std::string OstranaObject::describeMissing(const std::string& what, const std::string& name) const {
    return "[OstranaObject] No " + what + " '" + name + "' on an object of type '" + objectType_ +
           "'";
}

Result<void> OstranaObject::setValue(const std::string& key, const XVAny& value) {
    const Property* property = findProperty(key);
    if (property == nullptr) return Result<void>::failure(describeMissing("property", key));
    try {
        return property->setter(value);
    } catch (const XVAnyConversionError& error) {
        return Result<void>::failure("[OstranaObject] Cannot set property '" + key +
                                     "' of an object of type '" + objectType_ +
                                     "': " + error.what());
    }
}

Result<XVAny> OstranaObject::getValue(const std::string& key) {
    const Property* property = findProperty(key);
    if (property == nullptr) return Result<XVAny>::failure(describeMissing("property", key));
    return property->getter();
}

Result<XVAny> OstranaObject::callAction(const std::string& name, const XVAnyMap& params) {
    (void)params;
    return Result<XVAny>::failure(describeMissing("action", name));
}

Result<void> OstranaObject::registerProperty(const std::string& name, const XVAnyMap& schema,
                                             const XVAny& getter, const XVAny& setter) {
    if (getter.kind() != XVAny::Kind::Getter || setter.kind() != XVAny::Kind::Setter) {
        return Result<void>::failure("[OstranaObject] Property '" + name +
                                     "' needs a getter and a setter function");
    }
    Property property{name, schema, XVAny::convert<XVAny::Getter>(getter),
                      XVAny::convert<XVAny::Setter>(setter)};
    for (Property& existing : properties_) {
        if (existing.name == name) {
            existing = std::move(property);
            return {};
        }
    }
    properties_.push_back(std::move(property));
    return {};
}

bool OstranaObject::hasProperty(const std::string& name) const {
    return findProperty(name) != nullptr;
}

std::vector<PropertyDescription> OstranaObject::getProperties() const {
    std::vector<PropertyDescription> result;
    result.reserve(properties_.size());
    for (const Property& property : properties_) result.push_back({property.name, property.schema});
    return result;
}

}  // namespace ostrana
