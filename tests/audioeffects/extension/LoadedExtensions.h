#pragma once

#include <memory>
#include <string>
#include <vector>

#include <ostrana/sdk/Extension.h>

namespace ostrana::testing {

// The class a loaded effects library registers, as the C++ runtime names it.
inline const std::string kAudioEffectsExtensionClass =
    "ostrana::extensions::audioeffects::AudioEffectsExtension";

// The extensions the process-wide manager holds under name, in registration order.
std::vector<std::shared_ptr<Extension>> registeredExtensionsNamed(const std::string& name);

// The demangled name of extension's most derived class. Lets a host that does not link the
// library check what the library registered.
std::string dynamicClassName(const Extension& extension);

// Whether no object appears twice in extensions.
bool allDistinct(const std::vector<std::shared_ptr<Extension>>& extensions);

}  // namespace ostrana::testing
