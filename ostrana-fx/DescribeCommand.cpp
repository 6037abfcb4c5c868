#include "DescribeCommand.h"

#include "DescriptorJson.h"
#include "NodeCatalog.h"

namespace ostrana::fx {

void DescribeCommand::run(const std::string& type, std::ostream& out) {
    const NodeTypeInfo info = NodeCatalog::findType(NodeCatalog::resolve(type, "TYPE"), "TYPE");
    out << DescriptorJson::fromNodeTypeInfo(info).dump(2) << "\n";
}

}  // namespace ostrana::fx
