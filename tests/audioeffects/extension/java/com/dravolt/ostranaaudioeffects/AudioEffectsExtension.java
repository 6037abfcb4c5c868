package com.dravolt.ostranaaudioeffects;

/** The Java face of the effects library: load() registers one more extension with the host. */
public final class AudioEffectsExtension {
    public native void load();
}
