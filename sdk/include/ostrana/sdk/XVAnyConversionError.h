#pragma once

#include <stdexcept>
#include <string>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// Thrown by XVAny::convert when the held value cannot be given as the requested type.
// The message names the kind wanted and the kind held, for instance
// "XVAny: cannot convert a value of kind 'string' to 'float'".
class OSTRANA_SDK_EXPORT XVAnyConversionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace ostrana
