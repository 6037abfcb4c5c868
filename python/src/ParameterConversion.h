#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include <ostrana/audioeffects/ParameterDefinition.h>

namespace ostrana::python {

// Parameter values between Python objects and the catalogue's kinds. A value from Python must
// be of the parameter's kind as Python sees it: a bool for a switch; an int, or a float with no
// fraction, for a whole number; an int or a float for a real number. It must also lie in the
// catalogue's range unless out-of-range values are allowed. Nothing is rounded silently.
class ParameterConversion {
  public:
    using ParameterDefinition = extensions::audioeffects::ParameterDefinition;
    using ParameterValue = extensions::audioeffects::ParameterValue;

    // Throws pybind11::type_error for a value of the wrong kind and pybind11::value_error for
    // one out of range (or not representable), each message naming the parameter by its
    // Python name and saying what it takes.
    static ParameterValue fromPython(const ParameterDefinition& parameter, pybind11::handle value,
                                     bool allowOutOfRange);
    // A bool, an int, or a float (the shortest decimal that reads back as the stored float).
    static pybind11::object toPython(const ParameterValue& value);

  private:
    static ParameterValue switchValue(const ParameterDefinition& parameter, pybind11::handle value);
    static ParameterValue wholeNumberValue(const ParameterDefinition& parameter,
                                           pybind11::handle value);
    static ParameterValue realNumberValue(const ParameterDefinition& parameter,
                                          pybind11::handle value);
    // "delay_ms (a whole number, 1 to 1000 ms)"
    static std::string label(const ParameterDefinition& parameter);
    static std::string describeGiven(pybind11::handle value);
};

}  // namespace ostrana::python
