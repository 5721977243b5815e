#include "JObject.h"

#include "trevik/Assert.h"
#include "trevik/ScopeCounter.h"
#include "trevik/jni/ExceptionHandler.h"
#include "trevik/jni/VM.h"

// The place and the text that each check reports are fixed; they are not those of this file.
#define TREVIK_JOBJECT_CHECK(env, when, line, expression)                                                    \
    ExceptionHandler::CheckForException((env), Text::FromLiteral(when),                                      \
                                        Text::FromLiteral("include/JObject"), (line),                        \
                                        Text::FromLiteral(expression))

namespace trevik::jni {

namespace {

using Text = StringEncoded<JavaEncoding>;

jobject MakeGlobal(JNIEnv* env, jobject obj) {
    ScopeCounter counter(ScopeCounter::JavaBitmapCall, true);
    TREVIK_JOBJECT_CHECK(env, "BEFORE", 1045, "env->NewGlobalRef(obj)");
    jobject const global = env->NewGlobalRef(obj);
    TREVIK_JOBJECT_CHECK(env, "AFTER", 1045, "env->NewGlobalRef(obj)");
    return global;
}

void DeleteGlobal(JNIEnv* env, jobject obj) {
    ScopeCounter counter(ScopeCounter::JavaReferenceRelease, true);
    TREVIK_JOBJECT_CHECK(env, "BEFORE", 1049, "env->DeleteGlobalRef(m_obj)");
    env->DeleteGlobalRef(obj);
    TREVIK_JOBJECT_CHECK(env, "AFTER", 1049, "env->DeleteGlobalRef(m_obj)");
}

} // namespace

ObjectBase::~ObjectBase() = default;

void ObjectBase::Exchange(jobject& held, jobject obj) {
    JNIEnv* const env = obj != held ? VM::GetEnv() : nullptr;
    if (!env) {
        return;
    }
    jobject const global = obj ? MakeGlobal(env, obj) : nullptr;
    if (held) {
        DeleteGlobal(env, held);
    }
    held = global;
}

bool ObjectBase::IsInstanceOf(Class const& javaClass) const {
    JNIEnv* const env = VM::GetEnv();
    TREVIK_ASSERT_AT(env, "include/JObject", 1135, "env");
    if (!env) {
        return false;
    }
    ScopeCounter counter(ScopeCounter::JavaBitmapCall, true);
    TREVIK_JOBJECT_CHECK(env, "BEFORE", 1136, "env->IsInstanceOf(object.Get(), Get())");
    if (!javaClass.Get()) {
        return false;
    }
    bool const fInstance = env->IsInstanceOf(Get(), javaClass.Get()) == JNI_TRUE;
    TREVIK_JOBJECT_CHECK(env, "AFTER", 1136, "env->IsInstanceOf(object.Get(), Get())");
    return fInstance;
}

} // namespace trevik::jni
