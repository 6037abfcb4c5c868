// A shared library that registers one TestExtension named "Loadable" while it loads.
#include <ostrana/sdk/ExtensionManager.h>

#include "sdk/TestExtension.h"

namespace {

struct Registrar {
    Registrar() {
        ostrana::ExtensionManager::getInstance().registerExtension(
            std::make_shared<ostrana::testing::TestExtension>("Loadable"));
    }
};

const Registrar registrar;

}  // namespace
