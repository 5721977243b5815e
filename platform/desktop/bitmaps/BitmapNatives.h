#pragma once

#include <jni.h>

namespace kelvokit::desktop {

/**
 * Gives the Java class android.graphics.Bitmap its native methods, whatever library the class would look for
 * them in. False with an exception pending.
 */
bool RegisterBitmapNatives(JNIEnv* env, jclass bitmapClass);

} // namespace kelvokit::desktop
