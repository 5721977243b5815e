#pragma once

#include <jni.h>

#include "trevik/Export.h"

namespace trevik::jni {

class Class;

/** The process's Java virtual machine, as far as this library has been told of it. Any thread. */
class TREVIK_API VM {
public:
    /**
     * Takes note of the virtual machine (from JNI_OnLoad, or from whoever created it) and looks the
     * registered classes up. Null, from JNI_OnUnload or before the machine is destroyed, drops them again.
     * The calling thread is attached.
     */
    static void SetJavaVM(JavaVM* pJavaVM);
    /** Null until SetJavaVM. */
    static JavaVM* GetJavaVM();

    /**
     * The calling thread's environment; null without a virtual machine and on threads that are not attached
     * to it.
     */
    static JNIEnv* GetEnv();

    /**
     * Looks a Java class up, or has it looked up as soon as there is a virtual machine, and keeps a global
     * reference to it. False when it cannot be found, or when out of memory; what Java threw is reported.
     * `pClass` stays where it is until it is unregistered.
     */
    static bool RegisterClass(Class const* pClass);
    /** Drops the global reference. A class that is not registered is ignored. */
    static void UnregisterClass(Class const* pClass);
};

} // namespace trevik::jni
