#pragma once

#include "kelvo_desktop/Export.h"

#include <jni.h>

class SkBitmap;

/** Between Java's graphics classes and what is behind them. */
class KELVO_DESKTOP_API GraphicsJNI {
public:
    /**
     * A new android.graphics.Bitmap, which owns `bitmap` from now on; a local reference, null, with an
     * exception pending and `bitmap` deleted, when it cannot be made; so it is, without an exception, on a
     * thread that is not attached (`env` is null). `ninePatch` is null for a picture that
     * is none, `density` -1 for the default.
     */
    static jobject createBitmap(JNIEnv* env, SkBitmap* bitmap, bool isMutable, jbyteArray ninePatch,
                                int density = -1);
};
