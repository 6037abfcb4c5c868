#pragma once

#include <pybind11/pybind11.h>

#include <ostrana/audioeffects/NodeParameter.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>

namespace ostrana::python {

// The catalogue as plain Python data: one dict per node type and per parameter. The pure
// Python layer builds its effect classes, keyword arguments, properties and docstrings from
// these, so nothing about node types or parameters is written in Python.
class CatalogueConversion {
  public:
    // Every node type of the catalogue, in its order.
    static pybind11::list nodeTypes();
    static pybind11::dict fromEntry(const extensions::audioeffects::NodeTypeEntry& entry);
    static pybind11::dict fromParameter(const extensions::audioeffects::NodeParameter& parameter);
    // Every factory preset, in the catalogue's order: its node type (node, the short name, and
    // type_name), name, display_name and settings (Python parameter names to values, as the
    // effect classes take them as keywords).
    static pybind11::list presets();
};

}  // namespace ostrana::python
