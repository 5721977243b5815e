// A part of an application that makes bitmaps for its Java side.

#include "JObject.h"
#include "kelvo_desktop/JavaBitmaps.h"
#include "trevik/jni/VM.h"
#include "trevik/kelvo/Texture.h"

jint JNI_OnLoad(JavaVM* pVM, void*) {
    trevik::jni::VM::SetJavaVM(pVM);
    return kelvokit::desktop::RegisterBitmapClass(trevik::jni::VM::GetEnv()) ? JNI_VERSION_1_6 : JNI_ERR;
}

jobject MakeBitmap(JNIEnv* pEnv, trevik::kelvo::Texture& texture) {
    return pEnv->NewLocalRef(texture.CreateJavaBitmapFromTexture(0).Get());
}
