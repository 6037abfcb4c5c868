#include "audioeffects/extension/LoadedExtensions.h"

#include <cxxabi.h>

#include <cstdlib>
#include <typeinfo>

#include <ostrana/sdk/ExtensionManager.h>

namespace ostrana::testing {

std::vector<std::shared_ptr<Extension>> registeredExtensionsNamed(const std::string& name) {
    std::vector<std::shared_ptr<Extension>> named;
    for (const std::shared_ptr<Extension>& extension :
         ExtensionManager::getInstance().getExtensions()) {
        if (extension->getName() == name) named.push_back(extension);
    }
    return named;
}

std::string dynamicClassName(const Extension& extension) {
    const char* mangled = typeid(extension).name();
    int status = 0;
    char* demangled = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    std::string name = (status == 0 && demangled != nullptr) ? demangled : mangled;
    std::free(demangled);
    return name;
}

bool allDistinct(const std::vector<std::shared_ptr<Extension>>& extensions) {
    for (std::size_t i = 0; i < extensions.size(); ++i) {
        for (std::size_t j = i + 1; j < extensions.size(); ++j) {
            if (extensions[i] == extensions[j]) return false;
        }
    }
    return true;
}

}  // namespace ostrana::testing
