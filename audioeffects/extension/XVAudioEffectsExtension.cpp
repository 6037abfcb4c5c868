// The library's exported C entry points.

#include <jni.h>

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
