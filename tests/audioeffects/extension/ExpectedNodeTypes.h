#pragma once

#include <string>
#include <vector>

#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::testing {

// The descriptors the effects factory must register, in registration order, written out
// field by field from literals (nothing is taken from the library under test): the five the
// extension has always registered, first and in this order.
std::vector<NodeTypeInfo> expectedEffectNodeTypes();
// What a factory that registered `registered` must have registered: the five above, then, for
// each further effect (one a later file of the library added after them), a descriptor with
// that effect's own identity and every effect's shape. Each further effect's own test checks
// its identity.
std::vector<NodeTypeInfo> expectedEffectNodeTypes(const std::vector<NodeTypeInfo>& registered);

// Their fully qualified type names ("AudioEffects.Delay", ...), in the same order.
std::vector<std::string> expectedEffectTypeNames();
std::vector<std::string> expectedEffectTypeNames(const std::vector<NodeTypeInfo>& registered);

// The short names the effects' catalogue gives them ("delay", ...), in the same order.
std::vector<std::string> expectedEffectShortNames();

// A readable list of every field in which actual differs from expected; empty when the two
// records are equal in every field, map entry order and value kinds included.
std::string nodeTypeDifferences(const NodeTypeInfo& actual, const NodeTypeInfo& expected);

}  // namespace ostrana::testing
