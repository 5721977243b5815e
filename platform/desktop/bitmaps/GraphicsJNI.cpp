#include "GraphicsJNI.h"

#include "SkBitmap.h"
#include "bitmaps/BitmapClass.h"

#include <memory>

jobject GraphicsJNI::createBitmap(JNIEnv* env, SkBitmap* bitmap, bool isMutable, jbyteArray ninePatch,
                                  int density) {
    std::unique_ptr<SkBitmap> pBitmap(bitmap);
    jclass const bitmapClass = env && bitmap ? kelvokit::desktop::GetBitmapClass(env) : nullptr;
    if (!bitmapClass) {
        return nullptr;
    }
    jobject object = nullptr;
    jmethodID const constructor = env->GetMethodID(bitmapClass, "<init>", "(JZ[BI)V");
    if (constructor) {
        jvalue arguments[4] = {};
        arguments[0].j = static_cast<jlong>(reinterpret_cast<std::intptr_t>(bitmap));
        arguments[1].z = isMutable ? JNI_TRUE : JNI_FALSE;
        arguments[2].l = ninePatch;
        arguments[3].i = density;
        object = env->NewObjectA(bitmapClass, constructor, arguments);
    }
    env->DeleteLocalRef(bitmapClass);
    if (object) {
        static_cast<void>(pBitmap.release()); // the Java object's now
    }
    return object;
}
