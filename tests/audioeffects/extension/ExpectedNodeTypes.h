#pragma once

#include <string>
#include <vector>

#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::testing {

// The descriptors the effects factory must register, in registration order, written out
// field by field from literals (nothing is taken from the library under test). A new effect
// adds its line to the list in ExpectedNodeTypes.cpp, and every test of the list follows.
std::vector<NodeTypeInfo> expectedEffectNodeTypes();

// Their fully qualified type names ("AudioEffects.Delay", ...), in the same order.
std::vector<std::string> expectedEffectTypeNames();

// The short names the effects' catalogue gives them ("delay", ...), in the same order.
std::vector<std::string> expectedEffectShortNames();

// A readable list of every field in which actual differs from expected; empty when the two
// records are equal in every field, map entry order and value kinds included.
std::string nodeTypeDifferences(const NodeTypeInfo& actual, const NodeTypeInfo& expected);

}  // namespace ostrana::testing
