#pragma once

#include <memory>
#include <string>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/NodeFactory.h>
#include <ostrana/sdk/OstranaObject.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana {

// An extension: a named, described provider of a node factory. Its objects carry the type
// name "extension".
class OSTRANA_SDK_EXPORT Extension : public OstranaObject {
  public:
    Extension();
    ~Extension() override;

    virtual Result<void> initialize(const XVAnyMap& config) {
        (void)config;
        return {};
    }
    virtual Result<void> deinitialize() { return {}; }
    // Non-const getters: the host's virtual interface is fixed; other libraries override them.
    virtual std::string getName() = 0;
    virtual std::string getDescription() = 0;
    virtual std::shared_ptr<NodeFactory> getNodeFactory() = 0;
};

}  // namespace ostrana
