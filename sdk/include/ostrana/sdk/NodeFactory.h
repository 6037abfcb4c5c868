#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana {

// Makes a new node from a configuration map; the caller owns the returned node.
using NodeCreateFunction = std::function<Node*(const XVAnyMap&)>;

// Keeps node types, each a descriptor with its creation function, in registration order,
// and creates nodes by fully qualified type name ("AudioEffects.Delay").
class OSTRANA_SDK_EXPORT NodeFactory {
  public:
    NodeFactory();
    virtual ~NodeFactory();
    NodeFactory(const NodeFactory&) = delete;
    NodeFactory& operator=(const NodeFactory&) = delete;

    // Non-const getters: the host's virtual interface is fixed; other libraries override them.
    virtual std::string getNodeTypePrefix() = 0;
    // Copies of the registered descriptors, in registration order.
    virtual std::vector<NodeTypeInfo> getNodeTypes();
    // Calls the creation function registered for type with config. An unknown type, or a
    // creation function that throws or returns nothing, gives an error naming the type.
    virtual Result<std::unique_ptr<Node>> createNode(const std::string& type,
                                                     const XVAnyMap& config);

    // Keeps copies of info and create as one registration, after those already made.
    void registerNode(const NodeTypeInfo& info, NodeCreateFunction create);
    bool hasNodeType(const std::string& type) const;

  private:
    struct Registration {
        NodeTypeInfo info;
        NodeCreateFunction create;
    };
    std::vector<Registration> registrations_;
};

}  // namespace ostrana
