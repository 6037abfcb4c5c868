#pragma once

#include <string>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/OstranaObject.h>

namespace ostrana {

// The base of every node of a graph. Nodes are made on the heap by a factory's creation
// function and destroyed through the virtual destructor by whoever received them.
class OSTRANA_SDK_EXPORT Node : public OstranaObject {
  public:
    explicit Node(const std::string& objectType = "node");
    ~Node() override;

    Result<XVAny> getValue(const std::string& key) override;
    Result<XVAny> callAction(const std::string& name, const XVAnyMap& params) override;
};

}  // namespace ostrana
