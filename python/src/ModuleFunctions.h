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
    // Loads an extension library and returns the node types it added. A library loaded already
    // (the same file, or one of the same SONAME, which would register its types again) adds
    // nothing and returns none. Throws pybind11::value_error for an empty path and for a
    // library that registered no extension, std::runtime_error with the loader's message.
    static std::vector<std::string> loadExtension(const std::string& path,
                                                  const std::string& soname);

    // Throws pybind11::key_error for a parameter the node's type does not have.
    static pybind11::object getParameter(EffectNode& node, const std::string& name);
    static void setParameter(EffectNode& node, const std::string& name, pybind11::handle value,
                             bool allowOutOfRange);

  private:
    static const EffectNode::NodeParameter& parameterOf(const EffectNode& node,
                                                        const std::string& name);
};

}  // namespace ostrana::python
