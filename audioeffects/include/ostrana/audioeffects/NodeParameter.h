#pragma once

#include <ostrana/audioeffects/ParameterDefinition.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Node.h>

namespace ostrana::extensions::audioeffects {

// One parameter of a node type as the catalogue lists it: what it is (the definition) and how
// to read and write it on a node of that type, through the node's accessors. Both functions
// take a node made from the same catalogue entry and throw std::invalid_argument for a node of
// another type. write takes a value of the parameter's kind (std::invalid_argument otherwise;
// fromNumber converts a number) and stores it as given, with no range check (see contains), in
// one atomic exchange: it may be called from any thread while the node processes.
struct NodeParameter : ParameterDefinition {
    ParameterValue (*read)(Node& node);
    void (*write)(Node& node, const ParameterValue& value);
};

}  // namespace ostrana::extensions::audioeffects
