#include "ExtendedAttributes.h"

#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace ostrana::fx {

namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

// The names of path's attributes, the access control list moved to the end.
std::vector<std::string> attributeNames(const std::string& path) {
    const ssize_t size = listxattr(path.c_str(), nullptr, 0);
    if (size <= 0) return {};
    std::vector<char> list(static_cast<std::size_t>(size));
    const ssize_t got = listxattr(path.c_str(), list.data(), list.size());
    std::vector<std::string> names;
    bool accessList = false;
    for (ssize_t at = 0; at < got; at += static_cast<ssize_t>(std::strlen(&list[at])) + 1) {
        const std::string name(&list[at]);
        if (name == kAccessList) {
            accessList = true;
        } else {
            names.push_back(name);
        }
    }
    if (accessList) names.emplace_back(kAccessList);
    return names;
}

// Copies one attribute; returns errno on failure, 0 on success.
int copyOne(const std::string& path, const std::string& name, int descriptor) {
    const ssize_t size = getxattr(path.c_str(), name.c_str(), nullptr, 0);
    if (size < 0) return errno;
    std::vector<char> value(static_cast<std::size_t>(size));
    if (getxattr(path.c_str(), name.c_str(), value.data(), value.size()) != size) return errno;
    return fsetxattr(descriptor, name.c_str(), value.data(), value.size(), 0) == 0 ? 0 : errno;
}

}  // namespace

std::string ExtendedAttributes::copy(const std::string& path, int descriptor) {
    std::string failed;
    int error = 0;
    for (const std::string& name : attributeNames(path)) {
        const int result = copyOne(path, name, descriptor);
        if (result == 0) continue;
        error = result;
        failed += (failed.empty() ? "" : ", ") + name;
    }
    if (failed.empty()) return "";
    return "could not keep " + failed + " (" + std::strerror(error) + ")";
}

}  // namespace ostrana::fx
