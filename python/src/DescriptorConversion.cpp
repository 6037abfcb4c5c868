#include "DescriptorConversion.h"

#include <pybind11/stl.h>

#include <ostrana/sdk/SchemaConstants.h>

#include "ShortestFloat.h"

namespace py = pybind11;

namespace ostrana::python {

py::dict DescriptorConversion::fromNodeTypeInfo(const NodeTypeInfo& info) {
    py::dict descriptor;
    descriptor[py::str(OBJECT_TYPE_FIELD_TYPE)] = info.type;
    descriptor[py::str(OBJECT_TYPE_FIELD_SUBTYPE)] = info.subtype;
    descriptor[py::str(OBJECT_TYPE_FIELD_DISPLAY_NAME)] = info.displayName;
    descriptor[py::str(OBJECT_TYPE_FIELD_DESCRIPTION)] = info.description;
    descriptor[py::str(OBJECT_TYPE_FIELD_CATEGORIES)] = py::cast(info.categories);
    descriptor[py::str(OBJECT_TYPE_FIELD_CONFIGURATION)] = fromMap(info.configuration);
    descriptor[py::str(OBJECT_TYPE_FIELD_PROPERTIES)] = fromMap(info.properties);
    descriptor[py::str(OBJECT_TYPE_FIELD_ACTIONS)] = fromMap(info.actions);
    descriptor[py::str(OBJECT_TYPE_FIELD_EVENTS)] = fromMap(info.events);
    return descriptor;
}

py::dict DescriptorConversion::fromMap(const XVAnyMap& map) {
    py::dict dict;
    for (const XVAnyMap::Entry& entry : map) dict[py::str(entry.first)] = fromValue(entry.second);
    return dict;
}

py::object DescriptorConversion::fromValue(const XVAny& value) {
    switch (value.kind()) {
        case XVAny::Kind::Bool:
            return py::bool_(XVAny::convert<bool>(value));
        case XVAny::Kind::Int:
            return py::int_(XVAny::convert<int>(value));
        case XVAny::Kind::UnsignedInt:
            return py::int_(XVAny::convert<unsigned int>(value));
        case XVAny::Kind::Float:
            return py::float_(ShortestFloat::toDouble(XVAny::convert<float>(value)));
        case XVAny::Kind::String:
            return py::str(XVAny::convert<std::string>(value));
        case XVAny::Kind::Map:
            return fromMap(XVAny::convert<XVAnyMap>(value));
        case XVAny::Kind::Empty:
        case XVAny::Kind::Getter:
        case XVAny::Kind::Setter:
            return py::none();
    }
    return py::none();
}

}  // namespace ostrana::python
