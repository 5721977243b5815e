#pragma once

#include <jni.h>

namespace kelvokit::desktop {

/**
 * The Java class android.graphics.Bitmap with its native methods, as a local reference: the one that is
 * registered, else the one that the calling thread sees. Null with an exception pending.
 */
jclass GetBitmapClass(JNIEnv* env);

} // namespace kelvokit::desktop
