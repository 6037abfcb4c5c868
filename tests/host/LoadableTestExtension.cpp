// A shared library that registers one TestExtension named "Loadable" while it loads.
#include "host/ExtensionManager.h"
#include "tests/host/TestExtension.h"

namespace {

struct Registrar {
    Registrar() {
        ostrana::ExtensionManager::getInstance().registerExtension(
            std::make_shared<ostrana::testing::TestExtension>("Loadable"));
    }
};

const Registrar registrar;

}  // namespace
