#include "ParameterConversion.h"

#include <cmath>
#include <limits>

#include "PythonName.h"
#include "ShortestFloat.h"

namespace py = pybind11;

namespace ostrana::python {

namespace {

using extensions::audioeffects::kindName;
using extensions::audioeffects::ParameterKind;

// Python's abstract number types and NumPy's bool, looked up once and kept for the life of
// the process (never released, so nothing is freed after the interpreter has gone).
py::handle pythonType(const char* module, const char* name) {
    return py::object(py::module_::import(module).attr(name)).release();
}

bool isBool(py::handle value) {
    static const py::handle numpyBool = pythonType("numpy", "bool_");
    return PyBool_Check(value.ptr()) || py::isinstance(value, numpyBool);
}

bool isIntegral(py::handle value) {
    static const py::handle integral = pythonType("numbers", "Integral");
    return !isBool(value) && py::isinstance(value, integral);
}

bool isReal(py::handle value) {
    static const py::handle real = pythonType("numbers", "Real");
    return !isBool(value) && py::isinstance(value, real);
}

}  // namespace

std::string ParameterConversion::label(const ParameterDefinition& parameter) {
    return PythonName::of(parameter.name) + " (" + std::string(kindName(parameter.kind)) + ", " +
           parameter.rangeText() + ")";
}

std::string ParameterConversion::describeGiven(py::handle value) {
    return py::repr(value).cast<std::string>() + " (" +
           py::str(py::type::handle_of(value).attr("__name__")).cast<std::string>() + ")";
}

ParameterConversion::ParameterValue ParameterConversion::switchValue(
    const ParameterDefinition& parameter, py::handle value) {
    if (!isBool(value)) {
        throw py::type_error(label(parameter) + " takes True or False, not " +
                             describeGiven(value));
    }
    return ParameterValue(py::cast<bool>(py::bool_(py::reinterpret_borrow<py::object>(value))));
}

ParameterConversion::ParameterValue ParameterConversion::wholeNumberValue(
    const ParameterDefinition& parameter, py::handle value) {
    if (isIntegral(value)) {
        const py::int_ whole(py::reinterpret_borrow<py::object>(value));
        const py::int_ largest(std::numeric_limits<unsigned int>::max());
        if (whole < py::int_(0) || whole > largest) {
            throw py::value_error(label(parameter) + ": " + describeGiven(value) +
                                  " is not a whole number from 0 to 4294967295");
        }
        return ParameterValue(whole.cast<unsigned int>());
    }
    if (!isReal(value)) {
        throw py::type_error(label(parameter) + " takes a whole number, not " +
                             describeGiven(value));
    }
    const double number = py::float_(py::reinterpret_borrow<py::object>(value)).cast<double>();
    if (!std::isfinite(number) || std::floor(number) != number || number < 0.0 ||
        number > static_cast<double>(std::numeric_limits<unsigned int>::max())) {
        throw py::value_error(label(parameter) + ": " + describeGiven(value) +
                              " is not a whole number from 0 to 4294967295; it is not rounded");
    }
    return parameter.fromNumber(number);
}

ParameterConversion::ParameterValue ParameterConversion::realNumberValue(
    const ParameterDefinition& parameter, py::handle value) {
    if (!isReal(value)) {
        throw py::type_error(label(parameter) + " takes a number, not " + describeGiven(value));
    }
    return parameter.fromNumber(py::float_(py::reinterpret_borrow<py::object>(value)));
}

ParameterConversion::ParameterValue ParameterConversion::fromPython(
    const ParameterDefinition& parameter, py::handle value, bool allowOutOfRange) {
    ParameterValue converted;
    switch (parameter.kind) {
        case ParameterKind::Switch:
            converted = switchValue(parameter, value);
            break;
        case ParameterKind::WholeNumber:
            converted = wholeNumberValue(parameter, value);
            break;
        case ParameterKind::RealNumber:
            converted = realNumberValue(parameter, value);
            break;
    }
    if (!allowOutOfRange && !parameter.contains(converted)) {
        throw py::value_error(
            PythonName::of(parameter.name) + " must lie in " + parameter.rangeText() + ", not " +
            py::repr(value).cast<std::string>() + " (allow_out_of_range=True stores it anyway)");
    }
    return converted;
}

py::object ParameterConversion::toPython(const ParameterValue& value) {
    if (const bool* on = std::get_if<bool>(&value)) return py::bool_(*on);
    if (const unsigned int* whole = std::get_if<unsigned int>(&value)) return py::int_(*whole);
    return py::float_(ShortestFloat::toDouble(std::get<float>(value)));
}

}  // namespace ostrana::python
