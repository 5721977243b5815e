#pragma once

#include "trevik/Export.h"

#include <jni.h>

namespace trevik::jni {

class Class;

/** The process's Java virtual machine, as far as this library has been told of it. Any thread. */
class TREVIK_API VM {
public:
    /**
     * Takes note of the virtual machine and looks up the registered classes, those of trevik/jni/Class.h
     * among them; one that cannot be found is traced. Null, from JNI_OnUnload or before the machine is
     * destroyed, drops them again. The calling thread is attached.
     *
     * Classes are looked up as JNI does it on this thread: by the class loader of the native method that is
     * running, that of the class that loads the library in JNI_OnLoad, and the system's on a thread that was
     * attached by native code. So call it where the application's classes are seen: from JNI_OnLoad, or from
     * one of their native methods. They are found on every thread from then on.
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
     * Looks a Java class up (see SetJavaVM), or has it looked up as soon as there is a virtual machine, and
     * keeps a global reference to it. False when it cannot be found, or when out of memory; what Java threw
     * is reported, and the class is looked up again when it is registered once more, maybe by a thread that
     * sees it. `pClass` stays where it is until it is unregistered.
     */
    static bool RegisterClass(Class const* pClass);
    /** Drops the global reference. A class that is not registered is ignored. */
    static void UnregisterClass(Class const* pClass);
};

} // namespace trevik::jni
