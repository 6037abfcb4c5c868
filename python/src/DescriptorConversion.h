#pragma once

#include <pybind11/pybind11.h>

#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::python {

// Node type descriptors as plain Python data: dicts, lists, str, bool, int, float and None,
// with the same keys as the command line's JSON form.
class DescriptorConversion {
  public:
    static pybind11::dict fromNodeTypeInfo(const NodeTypeInfo& info);
    static pybind11::dict fromMap(const XVAnyMap& map);
    // Empty values and functions, which have no plain form, give None.
    static pybind11::object fromValue(const XVAny& value);
};

}  // namespace ostrana::python
