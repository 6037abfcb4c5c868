#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAnyConversionError.h>

namespace ostrana {

class XVAnyMap;

// A dynamically typed value with value semantics. It holds nothing (when default-made), a
// bool, a signed or unsigned 32-bit integer, a float, a text, a map, or a property getter or
// setter function. Maps are held immutably, so copies share them safely.
class OSTRANA_SDK_EXPORT XVAny {
  public:
    using Getter = std::function<Result<XVAny>()>;
    using Setter = std::function<Result<void>(const XVAny&)>;

    enum class Kind { Empty, Bool, Int, UnsignedInt, Float, String, Map, Getter, Setter };

    XVAny() = default;
    XVAny(bool value) : value_(value) {}
    XVAny(int value) : value_(value) {}
    XVAny(unsigned int value) : value_(value) {}
    XVAny(float value) : value_(value) {}
    XVAny(const char* value) : value_(std::string(value)) {}
    XVAny(const std::string& value) : value_(value) {}
    XVAny(const XVAnyMap& value);
    XVAny(Getter getter) : value_(std::move(getter)) {}
    XVAny(Setter setter) : value_(std::move(setter)) {}

    Kind kind() const { return static_cast<Kind>(value_.index()); }
    static std::string_view kindName(Kind kind);

    // The held value as a T. Numeric kinds cross over where no value is lost in meaning: an
    // int becomes an unsigned int when it is not negative, an unsigned int becomes an int when
    // it fits, and any number becomes a float. Anything else throws XVAnyConversionError.
    // Provided for bool, int, unsigned int, float, std::string, XVAnyMap, Getter and Setter.
    template <typename T>
    static T convert(const XVAny& value);

    // Equal kinds with equal contents; functions are never equal to anything.
    friend OSTRANA_SDK_EXPORT bool operator==(const XVAny& a, const XVAny& b);

  private:
    using MapPointer = std::shared_ptr<const XVAnyMap>;
    std::variant<std::monostate, bool, int, unsigned int, float, std::string, MapPointer, Getter,
                 Setter>
        value_;
};

template <>
OSTRANA_SDK_EXPORT bool XVAny::convert<bool>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT int XVAny::convert<int>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT unsigned int XVAny::convert<unsigned int>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT float XVAny::convert<float>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT std::string XVAny::convert<std::string>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT XVAnyMap XVAny::convert<XVAnyMap>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT XVAny::Getter XVAny::convert<XVAny::Getter>(const XVAny& value);
template <>
OSTRANA_SDK_EXPORT XVAny::Setter XVAny::convert<XVAny::Setter>(const XVAny& value);

}  // namespace ostrana

// Completes XVAnyMap for users of convert<XVAnyMap>.
#include <ostrana/sdk/XVAnyMap.h>
