// The library's exported C entry points.

#ifdef OSTRANA_WITH_JNI_HEADER
#include <jni.h>
#else
// What jni.h declares of the entry point's two argument types, for builds without a JDK. The
// entry point reads neither, and C linkage keeps its symbol whatever the types are.
class _jobject;
typedef _jobject* jobject;
struct JNIEnv_;
typedef JNIEnv_ JNIEnv;
#endif

#include <ostrana/audioeffects/AudioEffectsExtension.h>
#include <ostrana/audioeffects/Export.h>

extern "C" {

// Registration already happened while the library was loaded; calling this changes nothing.
OSTRANA_AUDIOEFFECTS_EXPORT void xv_extension_load(void) {}

// Exists only as a symbol that a program or a static link can refer to.
OSTRANA_AUDIOEFFECTS_EXPORT void xv_extension_anchor_UnknownOstranaExtension(void) {}

// The native method load() of the Java class com.dravolt.ostranaaudioeffects.AudioEffectsExtension.
// It registers a further extension object; neither argument is used.
OSTRANA_AUDIOEFFECTS_EXPORT void Java_com_dravolt_ostranaaudioeffects_AudioEffectsExtension_load(
    JNIEnv* /*env*/, jobject /*self*/) {
    ostrana::extensions::audioeffects::AudioEffectsExtension::load();
}
}
