#include <exception>
#include <utility>

#include <ostrana/sdk/NodeFactory.h>

namespace ostrana {

NodeFactory::NodeFactory() = default;

NodeFactory::~NodeFactory() = default;

std::vector<NodeTypeInfo> NodeFactory::getNodeTypes() {
    std::vector<NodeTypeInfo> types;
    types.reserve(registrations_.size());
    for (const Registration& registration : registrations_) types.push_back(registration.info);
    return types;
}

bool NodeFactory::hasNodeType(const std::string& type) const {
    for (const Registration& registration : registrations_) {
        if (registration.info.getFQTypeName() == type) return true;
    }
    return false;
}

Result<std::unique_ptr<Node>> NodeFactory::createNode(const std::string& type,
                                                      const XVAnyMap& config) {
    using NodeResult = Result<std::unique_ptr<Node>>;
    for (const Registration& registration : registrations_) {
        if (registration.info.getFQTypeName() != type) continue;
        try {
            std::unique_ptr<Node> node(registration.create(config));
            if (!node)
                return NodeResult::failure("[NodeFactory] Creating '" + type + "' gave no node");
            return NodeResult(std::move(node));
        } catch (const std::exception& error) {
            return NodeResult::failure("[NodeFactory] Creating '" + type +
                                       "' failed: " + error.what());
        }
    }
    std::string known;
    for (const Registration& registration : registrations_) {
        known += (known.empty() ? "" : ", ") + registration.info.getFQTypeName();
    }
    return NodeResult::failure("[NodeFactory] Unknown node type '" + type +
                               "'; known types: " + (known.empty() ? "none" : known));
}

void NodeFactory::registerNode(const NodeTypeInfo& info, NodeCreateFunction create) {
    registrations_.push_back({info, std::move(create)});
}

}  // namespace ostrana
