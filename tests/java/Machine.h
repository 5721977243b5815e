#pragma once

#include <gtest/gtest.h>
#include <jni.h>
#include <jvmti.h>

#include <mutex>
#include <string>
#include <vector>

namespace kelvo::test {

/**
 * The process's Java virtual machine, which checks each call of JNI (-Xcheck:jni). The thread that asks for
 * it first is attached to it; the library has been told of it.
 */
class Machine {
public:
    /** References made and deleted through JNI since ForgetCounts. */
    struct Counts {
        int nNewGlobals = 0;
        int nDeletedGlobals = 0;
    };

    static Machine& Get();

    JavaVM* VirtualMachine() const { return m_pVM; }
    /** Of the thread that made the machine. */
    JNIEnv* Env() const { return m_pEnv; }
    /** What the machine has complained about since the last call. */
    std::vector<std::string> TakeComplaints();
    void ForgetCounts();
    Counts GetCounts();

private:
    friend class MachineEnvironment;

    Machine();
    /** Ends the machine; nothing may be asked of it afterwards. */
    void Destroy();
    void Count();
    static jint JNICALL Print(std::FILE* file, char const* format, va_list arguments);
    static jobject JNICALL NewGlobalRef(JNIEnv* env, jobject object);
    static void JNICALL DeleteGlobalRef(JNIEnv* env, jobject object);

    static Machine* s_pMachine;

    JavaVM* m_pVM = nullptr;
    JNIEnv* m_pEnv = nullptr;
    jniNativeInterface* m_pFunctions = nullptr; ///< JVMTI's copy of those before counting
    std::mutex m_mutex;                         ///< for what follows
    std::string m_printed;
    Counts m_counts;
};

} // namespace kelvo::test
