// A host that loads the effects library, then calls its two C entry points that do nothing.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <memory>
#include <vector>

#include <ostrana/sdk/ExtensionManager.h>

#include "audioeffects/extension/LoadedExtensions.h"

using ostrana::Extension;
using ostrana::ExtensionManager;
using namespace ostrana::testing;

namespace {

using EntryPoint = void (*)();

EntryPoint findEntryPoint(void* library, const char* name) {
    return reinterpret_cast<EntryPoint>(dlsym(library, name));
}

}  // namespace

TEST(XvExtensionLoad, RegistersNothingMoreAfterTheLibraryLoaded) {
    ExtensionManager& manager = ExtensionManager::getInstance();
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "xv_extension_load"), nullptr)
        << "this program must not be linked against the effects library";
    void* library = dlopen(OSTRANA_AUDIO_EFFECTS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const std::vector<std::shared_ptr<Extension>> loaded = manager.getExtensions();
    ASSERT_EQ(loaded.size(), 1u);

    const EntryPoint load = findEntryPoint(library, "xv_extension_load");
    const EntryPoint anchor =
        findEntryPoint(library, "xv_extension_anchor_UnknownOstranaExtension");
    ASSERT_NE(load, nullptr);
    ASSERT_NE(anchor, nullptr);
    load();
    load();
    load();
    anchor();

    EXPECT_EQ(manager.getExtensions(), loaded);
    EXPECT_EQ(registeredExtensionsNamed("AudioEffects").size(), 1u);
}
