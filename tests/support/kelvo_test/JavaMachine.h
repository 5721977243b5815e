#pragma once

#include "trevik/jni/VM.h"

#include <type_traits>

namespace kelvokit::test {

/** A stand-in for a Java virtual machine, as far as classes, references and exceptions go; one at a time. */
class JavaMachine {
public:
    JavaMachine() {
        s_pMachine = this;
        m_invoke.GetEnv = [](JavaVM*, void** ppEnv, jint) {
            *ppEnv = &s_pMachine->m_env;
            return jint(JNI_OK);
        };
        m_vm.functions = &m_invoke;
        m_functions.FindClass = [](JNIEnv*, char const*) -> jclass {
            s_pMachine->m_fPending = !s_pMachine->m_fFindsClasses;
            return s_pMachine->m_fFindsClasses ? &s_pMachine->m_class : nullptr;
        };
        m_functions.GetObjectClass = [](JNIEnv*, jobject) -> jclass { return &s_pMachine->m_class; };
        m_functions.IsInstanceOf = [](JNIEnv*, jobject, jclass) {
            s_pMachine->m_fPending |= s_pMachine->m_fThrows;
            return jboolean(s_pMachine->m_fInstances);
        };
        m_functions.GetMethodID = [](JNIEnv*, jclass, char const*, char const*) { return jmethodID(); };
        m_functions.NewGlobalRef = [](JNIEnv*, jobject object) {
            ++s_pMachine->m_nGlobals;
            s_pMachine->m_fPending |= s_pMachine->m_fThrows;
            return object;
        };
        m_functions.DeleteGlobalRef = [](JNIEnv*, jobject) {
            --s_pMachine->m_nGlobals;
            s_pMachine->m_fPending |= s_pMachine->m_fThrows;
        };
        m_functions.DeleteLocalRef = [](JNIEnv*, jobject) {};
        m_functions.ExceptionCheck = [](JNIEnv*) { return jboolean(s_pMachine->m_fPending); };
        m_functions.ExceptionOccurred = [](JNIEnv*) { return jthrowable(); };
        m_functions.ExceptionClear = [](JNIEnv*) { s_pMachine->m_fPending = false; };
        m_env.functions = &m_functions;
        trevik::jni::VM::SetJavaVM(&m_vm);
    }
    ~JavaMachine() { trevik::jni::VM::SetJavaVM(nullptr); }

    JNIEnv m_env = {};
    int m_nGlobals = 0;          ///< global references that are there
    bool m_fPending = false;     ///< an exception
    bool m_fThrows = false;      ///< each operation on references
    bool m_fFindsClasses = true; ///< else it throws
    bool m_fInstances = true;    ///< whether objects are of the classes that are asked about

protected:
    static inline JavaMachine* s_pMachine;

    _jclass m_class;
    _jobject m_object;
    // Their names are not the same in every jni.h.
    std::remove_const_t<std::remove_pointer_t<decltype(JNIEnv::functions)>> m_functions = {};

private:
    std::remove_const_t<std::remove_pointer_t<decltype(JavaVM::functions)>> m_invoke = {};
    JavaVM m_vm = {};
};

} // namespace kelvokit::test
