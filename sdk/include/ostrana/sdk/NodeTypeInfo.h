#pragma once

#include <string>
#include <vector>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana {

// The description of one node type: who it is, how a user interface shows it, and its
// schema. A plain value: copying copies everything it holds.
struct OSTRANA_SDK_EXPORT NodeTypeInfo {
    std::string type;
    std::string subtype;
    std::string displayName;
    std::string description;
    std::vector<std::string> categories;
    XVAnyMap configuration;
    XVAnyMap properties;
    XVAnyMap actions;
    XVAnyMap events;

    // type + "." + subtype, nothing checked or trimmed.
    std::string getFQTypeName() const;
    // The schema map of one property. Throws std::runtime_error
    // "[NodeTypeInfo] Property key '<key>' not found for node type '<FQ name>'." when the
    // record has no such property.
    XVAnyMap getProperty(const std::string& key) const;
};

}  // namespace ostrana
