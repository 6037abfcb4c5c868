#include "sdk/TestExtension.h"

namespace ostrana::testing {

namespace {

class ProbeFactory : public NodeFactory {
  public:
    explicit ProbeFactory(const std::string& prefix) : prefix_(prefix) {
        NodeTypeInfo info;
        info.type = prefix;
        info.subtype = "Probe";
        info.displayName = "Probe";
        registerNode(info, [prefix](const XVAnyMap&) { return new Node(prefix + "-probe"); });
    }
    std::string getNodeTypePrefix() override { return prefix_; }

  private:
    std::string prefix_;
};

}  // namespace

std::shared_ptr<NodeFactory> TestExtension::getNodeFactory() {
    return std::make_shared<ProbeFactory>(name_);
}

}  // namespace ostrana::testing
