#include "ModuleFunctions.h"

#include <algorithm>
#include <stdexcept>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/ExtensionManager.h>

#include "DescriptorConversion.h"
#include "ParameterConversion.h"
#include "PythonName.h"

namespace py = pybind11;

namespace ostrana::python {

namespace {

using extensions::audioeffects::EffectCatalogue;

// Its own join, like ostrana-fx's TextList: the front ends share no private code.
std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

std::vector<std::string> ModuleFunctions::typeNames() {
    return ExtensionManager::getInstance().getNodeTypeNames();
}

py::dict ModuleFunctions::describe(const std::string& name) {
    const auto* entry = EffectCatalogue::find(name);
    const std::string typeName = entry != nullptr ? entry->typeName() : name;
    Result<NodeTypeInfo> found = ExtensionManager::getInstance().findNodeType(typeName);
    if (!found.isOk()) {
        throw py::key_error("unknown node type '" + name +
                            "'; known types: " + joined(typeNames()));
    }
    return DescriptorConversion::fromNodeTypeInfo(found.value());
}

std::vector<std::string> ModuleFunctions::loadExtension(const std::string& path) {
    const std::vector<std::string> before = typeNames();
    const Result<void> loaded = ExtensionManager::getInstance().loadLibrary(path);
    if (!loaded.isOk()) throw std::runtime_error(loaded.errorMessage());
    std::vector<std::string> added;
    for (const std::string& name : typeNames()) {
        if (std::find(before.begin(), before.end(), name) == before.end()) added.push_back(name);
    }
    return added;
}

const EffectNode::NodeParameter& ModuleFunctions::parameterOf(const EffectNode& node,
                                                              const std::string& name) {
    const EffectNode::NodeParameter* parameter = node.findParameter(name);
    if (parameter != nullptr) return *parameter;
    std::vector<std::string> names;
    if (node.entry() != nullptr) {
        for (const auto& known : node.entry()->parameters) {
            names.push_back(PythonName::of(known.name));
        }
    }
    throw py::key_error(node.typeName() + " has no parameter '" + name + "'" +
                        (names.empty() ? "" : "; parameters: " + joined(names)));
}

py::object ModuleFunctions::getParameter(EffectNode& node, const std::string& name) {
    return ParameterConversion::toPython(node.read(parameterOf(node, name)));
}

void ModuleFunctions::setParameter(EffectNode& node, const std::string& name, py::handle value,
                                   bool allowOutOfRange) {
    const EffectNode::NodeParameter& parameter = parameterOf(node, name);
    node.write(parameter, ParameterConversion::fromPython(parameter, value, allowOutOfRange));
}

}  // namespace ostrana::python
