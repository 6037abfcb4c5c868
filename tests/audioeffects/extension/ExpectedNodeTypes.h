#pragma once

#include <string>
#include <vector>

#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::testing {

// The five descriptors the effects factory must register, in registration order, written
// out field by field from literals (nothing is taken from the library under test).
std::vector<NodeTypeInfo> expectedEffectNodeTypes();

// A readable list of every field in which actual differs from expected; empty when the two
// records are equal in every field, map entry order and value kinds included.
std::string nodeTypeDifferences(const NodeTypeInfo& actual, const NodeTypeInfo& expected);

}  // namespace ostrana::testing
