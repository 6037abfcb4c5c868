#include "sdk/TestExtension.h"

namespace ostrana::testing {

namespace {

class ProbeFactory : public NodeFactory {
  public:
    ProbeFactory(const std::string& prefix, const std::string& subtype) : prefix_(prefix) {
        NodeTypeInfo info;
        info.type = prefix;
        info.subtype = subtype;
        info.displayName = subtype;
        registerNode(info, [prefix](const XVAnyMap&) { return new Node(prefix + "-probe"); });
    }
    std::string getNodeTypePrefix() override { return prefix_; }

  private:
    std::string prefix_;
};

}  // namespace

std::shared_ptr<NodeFactory> TestExtension::getNodeFactory() {
    return std::make_shared<ProbeFactory>(name_, subtype_);
}

}  // namespace ostrana::testing
