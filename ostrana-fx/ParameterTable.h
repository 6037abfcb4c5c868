#pragma once

#include <string>
#include <vector>

#include "ParameterBinding.h"

namespace ostrana::fx {

// The parameters that `render --set` can change on a node type, in the order they are listed.
// The ping-pong delay's parameters are its host properties, stored through setValue; the
// other effect nodes' parameters are their accessors, reached by casting to the node class.
class ParameterTable {
  public:
    // The table of a node type by its fully qualified name; empty for a type without one.
    static ParameterTable forNodeType(const std::string& typeName);

    // The binding named name, or nullptr.
    const ParameterBinding* find(const std::string& name) const;
    // The names, comma separated, for messages; "none" when there are none.
    std::string describeNames() const;
    const std::vector<ParameterBinding>& bindings() const { return bindings_; }

  private:
    explicit ParameterTable(std::vector<ParameterBinding> bindings);

    static ParameterTable delayTable();
    static ParameterTable pingPongDelayTable();
    template <typename ModulationNode>
    static ParameterTable modulationTable();

    std::vector<ParameterBinding> bindings_;
};

}  // namespace ostrana::fx
