#include <ostrana/sdk/Node.h>

namespace ostrana {

Node::Node(const std::string& objectType) : OstranaObject(objectType) {}

Node::~Node() = default;

Result<XVAny> Node::getValue(const std::string& key) {
    return OstranaObject::getValue(key);
}

Result<XVAny> Node::callAction(const std::string& name, const XVAnyMap& params) {
    return OstranaObject::callAction(name, params);
}

}  // namespace ostrana
