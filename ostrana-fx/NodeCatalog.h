#pragma once

#include <memory>
#include <string>
#include <vector>

#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::fx {

// The node types known to this process: those of every extension registered with the
// host's ExtensionManager, looked up and created by fully qualified type name.
class NodeCatalog {
  public:
    // Fully qualified names of every node type, in registration order.
    static std::vector<std::string> typeNames();
    // typeNames() comma separated, for messages; "none" when there are none.
    static std::string describeTypeNames();

    // The registered type a name means: a fully qualified type name (in any case) or a short
    // name of the catalogue ("delay", in any case). Throws a usage CommandError naming the
    // known types, with a suggestion, when there is none. where says which argument gave it.
    static std::string resolve(const std::string& name, const std::string& where);
    // Short names and type names, for suggestions.
    static std::vector<std::string> knownNames();

    // The descriptor of type; throws a usage CommandError naming the type and listing the
    // known ones when there is no such type. where says which argument gave the name.
    static NodeTypeInfo findType(const std::string& type, const std::string& where);
    // A new node of type with an empty configuration; errors as findType.
    static std::unique_ptr<Node> createNode(const std::string& type, const std::string& where);

  private:
    static std::string unknownTypeMessage(const std::string& type, const std::string& where);
};

}  // namespace ostrana::fx
