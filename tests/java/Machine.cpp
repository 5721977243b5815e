#include "Machine.h"

#include "kelvo_desktop/JavaBitmaps.h"
#include "trevik/jni/VM.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace kelvokit::test {

Machine* Machine::s_pMachine = nullptr;

/** Ends the machine after the last test. */
class MachineEnvironment : public testing::Environment {
public:
    void TearDown() override {
        if (Machine::s_pMachine) {
            Machine::s_pMachine->Destroy();
        }
    }
};

namespace {

testing::Environment* const g_pEnvironment = testing::AddGlobalTestEnvironment(new MachineEnvironment);

[[noreturn]] void GiveUp(char const* what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

} // namespace

Machine& Machine::Get() {
    static Machine s_machine;
    return s_machine;
}

Machine::Machine() {
    s_pMachine = this;
    char const* const pClassPath = std::getenv("KELVO_TEST_CLASS_PATH");
    std::string classPath =
        std::string("-Djava.class.path=") + (pClassPath ? pClassPath : KELVO_ANDROID_JAR ":" KELVO_TEST_JAR);
    char check[] = "-Xcheck:jni";
    char backend[] = "-Dkelvo.backend=" KELVO_BACKEND;
    char memory[] = "-Xmx64m";
    char print[] = "vfprintf";
    JavaVMOption options[] = {{check, nullptr},
                              {classPath.data(), nullptr},
                              {backend, nullptr},
                              {memory, nullptr},
                              {print, reinterpret_cast<void*>(&Machine::Print)}};
    JavaVMInitArgs arguments = {};
    arguments.version = JNI_VERSION_1_8;
    arguments.options = options;
    arguments.nOptions = jint(std::size(options));
    void* pEnv = nullptr;
    if (JNI_CreateJavaVM(&m_pVM, &pEnv, &arguments) != JNI_OK) {
        GiveUp("there is no Java virtual machine");
    }
    m_pEnv = static_cast<JNIEnv*>(pEnv);
    trevik::jni::VM::SetJavaVM(m_pVM);
}

void Machine::Destroy() {
    kelvokit::desktop::UnregisterBitmapClass(m_pEnv);
    trevik::jni::VM::SetJavaVM(nullptr);
    m_pVM->DestroyJavaVM();
}

/** The machine hands over text in pieces of any size. */
jint Machine::Print(std::FILE* file, char const* format, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    char text[4096];
    std::vsnprintf(text, sizeof(text), format, copy);
    va_end(copy);
    {
        std::lock_guard<std::mutex> const guard(s_pMachine->m_mutex);
        s_pMachine->m_printed += text;
    }
    return std::vfprintf(file, format, arguments);
}

std::vector<std::string> Machine::TakeComplaints() {
    std::string printed;
    {
        std::lock_guard<std::mutex> const guard(m_mutex);
        printed.swap(m_printed);
    }
    std::vector<std::string> complaints;
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("WARNING") != std::string::npos || line.find("ERROR") != std::string::npos) {
            complaints.push_back(line);
        }
    }
    return complaints;
}

} // namespace kelvokit::test
