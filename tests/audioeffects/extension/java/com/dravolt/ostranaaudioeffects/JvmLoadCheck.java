package com.dravolt.ostranaaudioeffects;

/**
 * Loads the host probe and the effects library into this virtual machine, calls the native
 * load(), and exits non-zero unless the host then holds two distinct "AudioEffects"
 * extensions: one registered while the library loaded, one by load().
 *
 * Arguments: the probe library's path, then the effects library's path.
 */
public final class JvmLoadCheck {
    /** How many extensions the host's manager holds. */
    static native int extensionCount();

    /** How many of them are named "AudioEffects". */
    static native int audioEffectsExtensionCount();

    /** Whether the "AudioEffects" extensions are distinct AudioEffectsExtension objects. */
    static native boolean audioEffectsExtensionsAreDistinct();

    public static void main(String[] args) {
        if (args.length != 2) fail("expected the probe and the effects library paths");
        System.load(args[0]);
        expect(extensionCount() == 0, "no extension before the effects library is loaded");

        System.load(args[1]);
        expect(extensionCount() == 1, "one extension after loading, got " + extensionCount());
        expect(audioEffectsExtensionCount() == 1, "it is named AudioEffects");

        new AudioEffectsExtension().load();
        expect(extensionCount() == 2, "two extensions after load(), got " + extensionCount());
        expect(audioEffectsExtensionCount() == 2, "both are named AudioEffects");
        expect(audioEffectsExtensionsAreDistinct(),
                "the two are distinct AudioEffectsExtension objects");
        System.out.println("two distinct AudioEffects extensions registered");
    }

    private static void expect(boolean holds, String what) {
        if (!holds) fail(what);
    }

    private static void fail(String what) {
        System.err.println("FAILED: " + what);
        System.exit(1);
    }
}
