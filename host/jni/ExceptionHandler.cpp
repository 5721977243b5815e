#include "trevik/jni/ExceptionHandler.h"

#include "trevik/Debug.h"

namespace trevik::jni {

namespace {

/** The throwable as text; empty when Java gives none. */
StringEncoded<UTF16Encoding> Describe(JNIEnv* pEnv, jthrowable thrown) {
    StringEncoded<UTF16Encoding> sText;
    jclass const thrownClass = pEnv->GetObjectClass(thrown);
    jmethodID const toString = pEnv->GetMethodID(thrownClass, "toString", "()Ljava/lang/String;");
    jstring const text = toString ? static_cast<jstring>(pEnv->CallObjectMethod(thrown, toString)) : nullptr;
    // toString may throw in turn; that is not reported.
    if (!pEnv->ExceptionCheck() && text) {
        jchar const* const pUnits = pEnv->GetStringChars(text, nullptr);
        if (pUnits) {
            static_assert(sizeof(jchar) == sizeof(char16_t), "both are UTF-16 units");
            sText = StringEncoded<UTF16Encoding>(reinterpret_cast<char16_t const*>(pUnits),
                                                 static_cast<unsigned int>(pEnv->GetStringLength(text)));
            pEnv->ReleaseStringChars(text, pUnits);
        }
    }
    pEnv->ExceptionClear();
    pEnv->DeleteLocalRef(text);
    pEnv->DeleteLocalRef(thrownClass);
    return sText;
}

} // namespace

bool ExceptionHandler::CheckForException(JNIEnv* pEnv, StringEncoded<JavaEncoding> const& sWhen,
                                         StringEncoded<JavaEncoding> const& sFile, int nLine,
                                         StringEncoded<JavaEncoding> const& sExpression) {
    if (!pEnv || !pEnv->ExceptionCheck()) {
        return false;
    }
    jthrowable const thrown = pEnv->ExceptionOccurred();
    pEnv->ExceptionClear();
    StringEncoded<UTF16Encoding> const sText = Describe(pEnv, thrown);
    pEnv->DeleteLocalRef(thrown);
    Debug::TraceFormat(TraceLevel::Error, u"[kelvo] Java exception %s %s (%s:%d): %s",
                       StringEncoded<UTF16Encoding>(sWhen).GetData(),
                       StringEncoded<UTF16Encoding>(sExpression).GetData(),
                       StringEncoded<UTF16Encoding>(sFile).GetData(), nLine, sText.GetData());
    return true;
}

} // namespace trevik::jni
