// A host that loads the effects library with dlopen and calls none of its entry points.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <memory>
#include <string>

#include <ostrana/sdk/ExtensionManager.h>

#include "audioeffects/extension/LoadedExtensions.h"

using ostrana::Extension;
using ostrana::ExtensionManager;
using namespace ostrana::testing;

TEST(LibraryLoad, RegistersExactlyOneAudioEffectsExtensionWithoutAnyEntryPointCalled) {
    ExtensionManager& manager = ExtensionManager::getInstance();
    ASSERT_TRUE(manager.getExtensions().empty());
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "xv_extension_load"), nullptr)
        << "this program must not be linked against the effects library";

    void* library = dlopen(OSTRANA_AUDIO_EFFECTS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();

    const std::vector<std::shared_ptr<Extension>> extensions = manager.getExtensions();
    ASSERT_EQ(extensions.size(), 1u);
    Extension& extension = *extensions[0];
    EXPECT_EQ(extension.getName(), "AudioEffects");
    EXPECT_EQ(extension.getDescription(),
              "Basic audio effects such as delay, chorus, flanger, and vibrato.");
    EXPECT_EQ(extension.getDescription().size(), 64u);
    EXPECT_EQ(dynamicClassName(extension), kAudioEffectsExtensionClass);
    EXPECT_EQ(extension.getObjectType(), "extension");
    // The manager's reference and this test's copy: the library kept none of its own.
    EXPECT_EQ(extensions[0].use_count(), 2);
}
