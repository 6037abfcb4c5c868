#include "ModuleFunctions.h"

#include <dlfcn.h>

#include <algorithm>
#include <set>
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

enum class Loaded { No, Extension, Other };

// The paths and SONAMEs of the libraries load_extension has loaded (which may register their
// extensions without the loader's entry point, when they are loaded).
std::set<std::string>& loadedExtensions() {
    static std::set<std::string> names;
    return names;
}

// Whether the process has this library loaded already (by path, or by SONAME for a bare name),
// and if so whether it is an extension library: one with the loader's entry point.
Loaded loadedAlready(const std::string& name) {
    void* handle = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle == nullptr) return Loaded::No;
    const bool extension =
        dlsym(handle, "xv_extension_load") != nullptr || loadedExtensions().count(name) > 0;
    dlclose(handle);
    return extension ? Loaded::Extension : Loaded::Other;
}

std::string notAnExtension(const std::string& path) {
    return "'" + path + "' is no extension library of this host: it registers no extension";
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

std::vector<std::string> ModuleFunctions::loadExtension(const std::string& path,
                                                        const std::string& soname) {
    if (path.empty()) throw py::value_error("load_extension needs the path of a library");
    Loaded loaded = loadedAlready(path);
    if (loaded == Loaded::No && !soname.empty()) loaded = loadedAlready(soname);
    if (loaded == Loaded::Other) throw py::value_error(notAnExtension(path));
    if (loaded == Loaded::Extension) return {};
    ExtensionManager& manager = ExtensionManager::getInstance();
    const std::vector<std::string> before = typeNames();
    const std::size_t extensions = manager.getExtensions().size();
    const Result<void> result = manager.loadLibrary(path);
    if (!result.isOk()) throw std::runtime_error(result.errorMessage());
    if (manager.getExtensions().size() == extensions) {
        throw py::value_error(notAnExtension(path) + " (it stays loaded, unused)");
    }
    loadedExtensions().insert(path);
    if (!soname.empty()) loadedExtensions().insert(soname);
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
