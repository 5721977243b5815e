#pragma once

#include <gtest/gtest.h>
#include <jni.h>

#include <mutex>
#include <string>
#include <vector>

namespace kelvokit::test {

/**
 * The process's Java virtual machine, which checks each call of JNI (-Xcheck:jni). The thread that asks for
 * it first is attached to it; the library has been told of it.
 */
class Machine {
public:
    static Machine& Get();

    JavaVM* VirtualMachine() const { return m_pVM; }
    /** Of the thread that made the machine. */
    JNIEnv* Env() const { return m_pEnv; }
    /** What the machine has complained about since the last call. */
    std::vector<std::string> TakeComplaints();

private:
    friend class MachineEnvironment;

    Machine();
    /** Ends the machine; nothing may be asked of it afterwards. */
    void Destroy();
    static jint JNICALL Print(std::FILE* file, char const* format, va_list arguments);

    static Machine* s_pMachine;

    JavaVM* m_pVM = nullptr;
    JNIEnv* m_pEnv = nullptr;
    std::mutex m_mutex; ///< for what follows
    std::string m_printed;
};

} // namespace kelvokit::test
