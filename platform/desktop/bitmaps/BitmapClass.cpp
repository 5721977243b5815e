#include "bitmaps/BitmapClass.h"

#include "bitmaps/BitmapNatives.h"
#include "kelvo_desktop/JavaBitmaps.h"

#include <mutex>

namespace kelvokit::desktop {

namespace {

std::mutex g_mutex;
jclass g_registered = nullptr; ///< a global reference

/** As the calling thread sees it. */
jclass FindBitmapClass(JNIEnv* env) {
    jclass const found = env->FindClass("android/graphics/Bitmap");
    if (found && !RegisterBitmapNatives(env, found)) {
        env->DeleteLocalRef(found);
        return nullptr;
    }
    return found;
}

void Keep(JNIEnv* env, jclass bitmapClass) {
    jclass before = bitmapClass;
    {
        std::lock_guard<std::mutex> const guard(g_mutex);
        before = g_registered;
        g_registered = bitmapClass;
    }
    if (before) {
        env->DeleteGlobalRef(before);
    }
}

} // namespace

jclass GetBitmapClass(JNIEnv* env) {
    {
        std::lock_guard<std::mutex> const guard(g_mutex);
        if (g_registered) {
            return static_cast<jclass>(env->NewLocalRef(g_registered));
        }
    }
    return FindBitmapClass(env);
}

bool RegisterBitmapClass(JNIEnv* env) {
    jclass const found = FindBitmapClass(env);
    jclass const global = found ? static_cast<jclass>(env->NewGlobalRef(found)) : nullptr;
    if (!global) {
        return false;
    }
    env->DeleteLocalRef(found);
    Keep(env, global);
    return true;
}

void UnregisterBitmapClass(JNIEnv* env) {
    Keep(env, nullptr);
}

} // namespace kelvokit::desktop
