#pragma once

#include <jni.h>
#include <kelvo_desktop/Export.h>

namespace kelvokit::desktop {

/**
 * Looks the Java class android.graphics.Bitmap up and keeps it for all bitmaps that are made from now on, in
 * place of one kept before. To be called where the application's classes are seen: from JNI_OnLoad or one of
 * their native methods. Without it each bitmap looks its class up on the thread that makes it, and a thread
 * that was attached by native code sees the class path only. False, with an exception pending and nothing
 * changed, when there is no such class. Any attached thread.
 */
KELVO_DESKTOP_API bool RegisterBitmapClass(JNIEnv* env);

/** Lets the class go: from JNI_OnUnload, or before the virtual machine is destroyed. Any attached thread. */
KELVO_DESKTOP_API void UnregisterBitmapClass(JNIEnv* env);

} // namespace kelvokit::desktop
