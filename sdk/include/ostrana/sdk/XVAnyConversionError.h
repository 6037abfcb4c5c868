#pragma once

#include <stdexcept>
#include <string>

namespace ostrana {

// Thrown by XVAny::convert when the held value cannot be given as the requested type.
// The message names the kind wanted and the kind held, for instance
// "XVAny: cannot convert a value of kind 'string' to 'float'".
class XVAnyConversionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace ostrana
