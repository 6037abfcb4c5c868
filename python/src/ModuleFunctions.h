#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

#include "EffectNode.h"

namespace ostrana::python {

// The functions of the extension module that reach the host library or a node's parameters.
class ModuleFunctions {
  public:
    static std::vector<std::string> typeNames();
    // Takes a fully qualified type name of any loaded extension, or a catalogue short name.
    // Throws pybind11::key_error naming the known types.
    static pybind11::dict describe(const std::string& name);
    // Throws std::runtime_error with the loader's message.
    static std::vector<std::string> loadExtension(const std::string& path);

    // Throws pybind11::key_error for a parameter the node's type does not have.
    static pybind11::object getParameter(EffectNode& node, const std::string& name);
    static void setParameter(EffectNode& node, const std::string& name, pybind11::handle value,
                             bool allowOutOfRange);

  private:
    static const EffectNode::NodeParameter& parameterOf(const EffectNode& node,
                                                        const std::string& name);
};

}  // namespace ostrana::python
