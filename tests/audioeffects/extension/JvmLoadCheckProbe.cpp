// The native side of the Java class com.dravolt.ostranaaudioeffects.JvmLoadCheck: reports the
// host's extension manager state back to Java. Linked against the host library only.
#include <jni.h>

#include <ostrana/sdk/ExtensionManager.h>

#include "audioeffects/extension/LoadedExtensions.h"

namespace {

std::vector<std::shared_ptr<ostrana::Extension>> audioEffectsExtensions() {
    return ostrana::testing::registeredExtensionsNamed("AudioEffects");
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) jint
Java_com_dravolt_ostranaaudioeffects_JvmLoadCheck_extensionCount(JNIEnv* /*env*/, jclass /*type*/) {
    return static_cast<jint>(ostrana::ExtensionManager::getInstance().getExtensions().size());
}

__attribute__((visibility("default"))) jint
Java_com_dravolt_ostranaaudioeffects_JvmLoadCheck_audioEffectsExtensionCount(JNIEnv* /*env*/,
                                                                             jclass /*type*/) {
    return static_cast<jint>(audioEffectsExtensions().size());
}

__attribute__((visibility("default"))) jboolean
Java_com_dravolt_ostranaaudioeffects_JvmLoadCheck_audioEffectsExtensionsAreDistinct(
    JNIEnv* /*env*/, jclass /*type*/) {
    const auto extensions = audioEffectsExtensions();
    if (extensions.size() < 2 || !ostrana::testing::allDistinct(extensions)) return JNI_FALSE;
    for (const auto& extension : extensions) {
        if (ostrana::testing::dynamicClassName(*extension) !=
            ostrana::testing::kAudioEffectsExtensionClass) {
            return JNI_FALSE;
        }
    }
    return JNI_TRUE;
}
}
