#pragma once

#include <string>

namespace ostrana::fx {

// A file's extended attributes (user.comment and the like, and its access control list, which
// Linux keeps as the attribute system.posix_acl_access), copied onto the file that replaces it.
class ExtendedAttributes {
  public:
    // Copies every attribute of the file at path onto the open file descriptor, the access
    // control list last (setting it also sets the group bits of the mode, as the list says).
    // Returns "" when all were copied, else what could not be, for a warning.
    static std::string copy(const std::string& path, int descriptor);
};

}  // namespace ostrana::fx
