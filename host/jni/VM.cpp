#include "trevik/jni/VM.h"

#include "trevik/Debug.h"
#include "trevik/Immortal.h"
#include "trevik/List.h"
#include "trevik/Mutex.h"
#include "trevik/jni/Class.h"
#include "trevik/jni/ExceptionHandler.h"

#include <atomic>

namespace trevik::jni {

namespace {

constexpr jint RequiredVersion = JNI_VERSION_1_6;

std::atomic<JavaVM*> g_pJavaVM{nullptr};

/**
 * The classes to look up in each virtual machine. Never destroyed: classes may be unregistered while the
 * process ends.
 */
struct Registrations {
    Mutex m_mutex;
    List<Class const*> m_classes;
};

Registrations& GetRegistrations() {
    static Immortal<Registrations> s_registrations;
    return s_registrations.Get();
}

/**
 * Registers the classes that this library itself describes. Looked up only at its first use, a class might be
 * asked for on a thread whose class loader does not know it.
 */
void RegisterKnownClasses() {
    java::lang::Class::GetClass();
    java::lang::Object::GetClass();
    android::graphics::Bitmap::GetClass();
}

/** A new global reference to the class; null, with what Java threw reported, when it cannot be found. */
jclass FindClass(JNIEnv* pEnv, char const* pName) {
    ExceptionHandler::CheckForException(pEnv, "BEFORE", "include/trevik/jni/VM", __LINE__ + 2,
                                        "env->FindClass(name)");
    jclass const found = pEnv->FindClass(pName);
    ExceptionHandler::CheckForException(pEnv, "AFTER", "include/trevik/jni/VM", __LINE__ - 1,
                                        "env->FindClass(name)");
    if (!found) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] There is no Java class %hs", pName);
        return nullptr;
    }
    jclass const global = static_cast<jclass>(pEnv->NewGlobalRef(found));
    pEnv->DeleteLocalRef(found);
    return global;
}

} // namespace

void VM::SetJavaVM(JavaVM* pJavaVM) {
    RegisterKnownClasses();
    Registrations& registrations = GetRegistrations();
    ScopedLock lock(registrations.m_mutex);
    JNIEnv* const pOldEnv = GetEnv();
    for (Class const* pClass : registrations.m_classes) {
        jclass const old = pClass->m_class.exchange(nullptr);
        if (old && pOldEnv) {
            pOldEnv->DeleteGlobalRef(old);
        }
    }
    g_pJavaVM.store(pJavaVM);
    JNIEnv* const pEnv = GetEnv();
    for (Class const* pClass : registrations.m_classes) {
        if (pEnv) {
            pClass->m_class.store(FindClass(pEnv, pClass->m_pName));
        }
    }
}

JavaVM* VM::GetJavaVM() {
    return g_pJavaVM.load();
}

JNIEnv* VM::GetEnv() {
    JavaVM* const pJavaVM = g_pJavaVM.load();
    void* pEnv = nullptr;
    if (!pJavaVM || pJavaVM->GetEnv(&pEnv, RequiredVersion) != JNI_OK) {
        return nullptr;
    }
    return static_cast<JNIEnv*>(pEnv);
}

bool VM::RegisterClass(Class const* pClass) {
    Registrations& registrations = GetRegistrations();
    ScopedLock lock(registrations.m_mutex);
    if (!pClass || (registrations.m_classes.IndexOf(pClass) < 0 && !registrations.m_classes.Append(pClass))) {
        return false;
    }
    JNIEnv* const pEnv = GetEnv();
    if (!pEnv || pClass->Get()) {
        return true;
    }
    pClass->m_class.store(FindClass(pEnv, pClass->m_pName));
    return pClass->Get() != nullptr;
}

void VM::UnregisterClass(Class const* pClass) {
    Registrations& registrations = GetRegistrations();
    ScopedLock lock(registrations.m_mutex);
    int const nIndex = registrations.m_classes.IndexOf(pClass);
    if (nIndex < 0) {
        return;
    }
    registrations.m_classes.RemoveAt(static_cast<unsigned int>(nIndex));
    jclass const old = pClass->m_class.exchange(nullptr);
    JNIEnv* const pEnv = GetEnv();
    if (old && pEnv) {
        pEnv->DeleteGlobalRef(old);
    }
}

} // namespace trevik::jni
