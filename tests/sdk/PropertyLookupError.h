#pragma once

#include <stdexcept>
#include <string>

#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::testing {

// The message of the std::runtime_error that looking up key in info's properties throws, or
// "no exception" when the lookup succeeds.
inline std::string propertyLookupError(const NodeTypeInfo& info, const std::string& key) {
    try {
        (void)info.getProperty(key);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no exception";
}

}  // namespace ostrana::testing
