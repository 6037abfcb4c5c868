#include "DescriptorJson.h"

#include <charconv>
#include <cmath>
#include <string>

#include <ostrana/sdk/SchemaConstants.h>

namespace ostrana::fx {

nlohmann::ordered_json DescriptorJson::fromNodeTypeInfo(const NodeTypeInfo& info) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    json[OBJECT_TYPE_FIELD_TYPE] = info.type;
    json[OBJECT_TYPE_FIELD_SUBTYPE] = info.subtype;
    json[OBJECT_TYPE_FIELD_DISPLAY_NAME] = info.displayName;
    json[OBJECT_TYPE_FIELD_DESCRIPTION] = info.description;
    json[OBJECT_TYPE_FIELD_CATEGORIES] = info.categories;
    json[OBJECT_TYPE_FIELD_CONFIGURATION] = fromMap(info.configuration);
    json[OBJECT_TYPE_FIELD_PROPERTIES] = fromMap(info.properties);
    json[OBJECT_TYPE_FIELD_ACTIONS] = fromMap(info.actions);
    json[OBJECT_TYPE_FIELD_EVENTS] = fromMap(info.events);
    return json;
}

nlohmann::ordered_json DescriptorJson::fromMap(const XVAnyMap& map) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (const XVAnyMap::Entry& entry : map) json[entry.first] = fromValue(entry.second);
    return json;
}

nlohmann::ordered_json DescriptorJson::fromFloat(float value) {
    if (!std::isfinite(value)) return nullptr;  // JSON has no infinities or NaN
    char text[64];
    const auto written = std::to_chars(text, text + sizeof text, value);
    double shortest = 0.0;
    std::from_chars(text, written.ptr, shortest);
    return shortest;
}

nlohmann::ordered_json DescriptorJson::fromValue(const XVAny& value) {
    switch (value.kind()) {
        case XVAny::Kind::Bool:
            return XVAny::convert<bool>(value);
        case XVAny::Kind::Int:
            return XVAny::convert<int>(value);
        case XVAny::Kind::UnsignedInt:
            return XVAny::convert<unsigned int>(value);
        case XVAny::Kind::Float:
            return fromFloat(XVAny::convert<float>(value));
        case XVAny::Kind::String:
            return XVAny::convert<std::string>(value);
        case XVAny::Kind::Map:
            return fromMap(XVAny::convert<XVAnyMap>(value));
        // Empty values and functions have no JSON form; descriptors do not hold functions.
        case XVAny::Kind::Empty:
        case XVAny::Kind::Getter:
        case XVAny::Kind::Setter:
            return nullptr;
    }
    return nullptr;
}

}  // namespace ostrana::fx
