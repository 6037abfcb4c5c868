#include <climits>

#include <ostrana/sdk/XVAny.h>

namespace ostrana {

namespace {

[[noreturn]] void throwUnsuitable(const XVAny& value, std::string_view wanted) {
    throw XVAnyConversionError("XVAny: cannot convert a value of kind '" +
                               std::string(XVAny::kindName(value.kind())) + "' to '" +
                               std::string(wanted) + "'");
}

[[noreturn]] void throwOutOfRange(const std::string& held, std::string_view wanted) {
    throw XVAnyConversionError("XVAny: the value " + held + " is out of range for '" +
                               std::string(wanted) + "'");
}

}  // namespace

XVAny::XVAny(const XVAnyMap& value) : value_(std::make_shared<const XVAnyMap>(value)) {}

std::string_view XVAny::kindName(Kind kind) {
    switch (kind) {
        case Kind::Empty:
            return "empty";
        case Kind::Bool:
            return "bool";
        case Kind::Int:
            return "int";
        case Kind::UnsignedInt:
            return "unsigned int";
        case Kind::Float:
            return "float";
        case Kind::String:
            return "string";
        case Kind::Map:
            return "map";
        case Kind::Getter:
            return "getter";
        case Kind::Setter:
            return "setter";
    }
    return "unknown";
}

template <>
bool XVAny::convert<bool>(const XVAny& value) {
    if (const bool* held = std::get_if<bool>(&value.value_)) return *held;
    throwUnsuitable(value, "bool");
}

template <>
int XVAny::convert<int>(const XVAny& value) {
    if (const int* held = std::get_if<int>(&value.value_)) return *held;
    if (const unsigned* held = std::get_if<unsigned>(&value.value_)) {
        if (*held > static_cast<unsigned>(INT_MAX)) throwOutOfRange(std::to_string(*held), "int");
        return static_cast<int>(*held);
    }
    throwUnsuitable(value, "int");
}

template <>
unsigned int XVAny::convert<unsigned int>(const XVAny& value) {
    if (const unsigned* held = std::get_if<unsigned>(&value.value_)) return *held;
    if (const int* held = std::get_if<int>(&value.value_)) {
        if (*held < 0) throwOutOfRange(std::to_string(*held), "unsigned int");
        return static_cast<unsigned>(*held);
    }
    throwUnsuitable(value, "unsigned int");
}

template <>
float XVAny::convert<float>(const XVAny& value) {
    if (const float* held = std::get_if<float>(&value.value_)) return *held;
    if (const int* held = std::get_if<int>(&value.value_)) return static_cast<float>(*held);
    if (const unsigned* held = std::get_if<unsigned>(&value.value_))
        return static_cast<float>(*held);
    throwUnsuitable(value, "float");
}

template <>
std::string XVAny::convert<std::string>(const XVAny& value) {
    if (const std::string* held = std::get_if<std::string>(&value.value_)) return *held;
    throwUnsuitable(value, "string");
}

template <>
XVAnyMap XVAny::convert<XVAnyMap>(const XVAny& value) {
    if (const MapPointer* held = std::get_if<MapPointer>(&value.value_)) return **held;
    throwUnsuitable(value, "map");
}

template <>
XVAny::Getter XVAny::convert<XVAny::Getter>(const XVAny& value) {
    if (const Getter* held = std::get_if<Getter>(&value.value_)) return *held;
    throwUnsuitable(value, "getter");
}

template <>
XVAny::Setter XVAny::convert<XVAny::Setter>(const XVAny& value) {
    if (const Setter* held = std::get_if<Setter>(&value.value_)) return *held;
    throwUnsuitable(value, "setter");
}

bool operator==(const XVAny& a, const XVAny& b) {
    if (a.value_.index() != b.value_.index()) return false;
    return std::visit(
        [&b](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            const Held& other = std::get<Held>(b.value_);
            if constexpr (std::is_same_v<Held, XVAny::MapPointer>) {
                return *held == *other;
            } else if constexpr (std::is_same_v<Held, XVAny::Getter> ||
                                 std::is_same_v<Held, XVAny::Setter>) {
                return false;
            } else {
                return held == other;
            }
        },
        a.value_);
}

}  // namespace ostrana
