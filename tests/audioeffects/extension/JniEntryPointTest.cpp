// A host that loads the effects library, then calls its Java entry point as a virtual machine
// would, without one: the arguments are not used, so null is passed for both.
#include <gtest/gtest.h>
#include <jni.h>

#include <dlfcn.h>

#include <memory>
#include <vector>

#include <ostrana/sdk/ExtensionManager.h>

#include "audioeffects/extension/LoadedExtensions.h"

using ostrana::Extension;
using ostrana::ExtensionManager;
using namespace ostrana::testing;

namespace {

using JavaLoad = void (*)(JNIEnv*, jobject);

constexpr const char* kJavaLoadName =
    "Java_com_dravolt_ostranaaudioeffects_AudioEffectsExtension_load";

}  // namespace

TEST(JniEntryPoint, HandsAFurtherDistinctAudioEffectsExtensionToTheManagerOnEachCall) {
    ExtensionManager& manager = ExtensionManager::getInstance();
    ASSERT_EQ(dlsym(RTLD_DEFAULT, kJavaLoadName), nullptr)
        << "this program must not be linked against the effects library";
    void* library = dlopen(OSTRANA_AUDIO_EFFECTS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const std::vector<std::shared_ptr<Extension>> loaded = manager.getExtensions();
    ASSERT_EQ(loaded.size(), 1u);

    std::vector<std::shared_ptr<Extension>> handedOver;
    manager.setRegistrationObserver([&handedOver](const std::shared_ptr<Extension>& extension) {
        handedOver.push_back(extension);
    });
    const auto javaLoad = reinterpret_cast<JavaLoad>(dlsym(library, kJavaLoadName));
    ASSERT_NE(javaLoad, nullptr) << dlerror();
    javaLoad(nullptr, nullptr);
    manager.setRegistrationObserver(nullptr);

    ASSERT_EQ(handedOver.size(), 1u);
    const std::vector<std::shared_ptr<Extension>> extensions = manager.getExtensions();
    ASSERT_EQ(extensions.size(), 2u);
    EXPECT_EQ(extensions[0], loaded[0]);
    EXPECT_EQ(extensions[1], handedOver[0]);
    EXPECT_NE(extensions[1], extensions[0]);
    EXPECT_EQ(dynamicClassName(*extensions[1]), kAudioEffectsExtensionClass);
    EXPECT_EQ(extensions[1]->getName(), "AudioEffects");
    EXPECT_EQ(extensions[1]->getDescription(),
              "Basic audio effects such as delay, chorus, flanger, and vibrato.");
    EXPECT_EQ(registeredExtensionsNamed("AudioEffects").size(), 2u);

    // Nothing stops a further call: it registers a third object.
    javaLoad(nullptr, nullptr);
    const std::vector<std::shared_ptr<Extension>> named = registeredExtensionsNamed("AudioEffects");
    ASSERT_EQ(named.size(), 3u);
    EXPECT_TRUE(allDistinct(named));
    EXPECT_EQ(dynamicClassName(*named[2]), kAudioEffectsExtensionClass);
}
