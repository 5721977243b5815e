#pragma once

#include <cutils/compiler.h>
#include <jni.h>

class SkBitmap;

/** Between Java's graphics classes and what is behind them. */
class ANDROID_API GraphicsJNI {
public:
    /**
     * A new android.graphics.Bitmap, which owns `bitmap` from now on, as a local reference; its class is the
     * registered one (kelvo_desktop/JavaBitmaps.h), else the one that the thread sees. `ninePatch` is null
     * for a picture that is none, `density` -1 for the default. Null, with `bitmap` deleted, when it cannot
     * be made: with an exception pending, or without one on a thread that is not attached (`env` is null).
     */
    static jobject createBitmap(JNIEnv* env, SkBitmap* bitmap, bool isMutable, jbyteArray ninePatch,
                                int density = -1);
};
