#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "JObject.h"
#include "TestNodes.h"
#include "trevik/jni/VM.h"

namespace trevik::jni {
namespace {

typedef Object<android::graphics::Bitmap> BitmapObject;

/**
 * A stand-in for a Java virtual machine: objects are small numbers, of which only 1 is a bitmap; it notes
 * what is asked of it.
 */
class FakeVM {
public:
    std::vector<std::string> m_calls;
    bool m_fPending = false;    ///< a Java exception
    bool m_fBitmapClass = true; ///< whether the class can be found

    FakeVM() {
        s_pVM = this;
        m_invoke.GetEnv = &FakeVM::GetEnv;
        m_vm.functions = &m_invoke;
        m_functions.FindClass = &FakeVM::FindClass;
        m_functions.NewGlobalRef = &FakeVM::NewGlobalRef;
        m_functions.DeleteGlobalRef = [](JNIEnv*, jobject obj) { Note("delete " + Number(obj)); };
        m_functions.DeleteLocalRef = [](JNIEnv*, jobject) {};
        m_functions.IsInstanceOf = [](JNIEnv*, jobject obj, jclass) {
            return jboolean(Number(obj) == "101" ? JNI_TRUE : JNI_FALSE);
        };
        m_functions.ExceptionCheck = [](JNIEnv*) { return jboolean(s_pVM->m_fPending); };
        m_functions.ExceptionOccurred = [](JNIEnv*) { return static_cast<jthrowable>(Handle(7)); };
        m_functions.ExceptionClear = [](JNIEnv*) { s_pVM->m_fPending = false; };
        m_functions.GetObjectClass = [](JNIEnv*, jobject) { return static_cast<jclass>(Handle(8)); };
        m_functions.GetMethodID = [](JNIEnv*, jclass, char const*, char const*) {
            return jmethodID(nullptr);
        };
        m_env.functions = &m_functions;
        VM::SetJavaVM(&m_vm);
        VM::RegisterClass(&android::graphics::Bitmap::GetClass());
        m_calls.clear();
    }
    ~FakeVM() {
        VM::SetJavaVM(nullptr);
        s_pVM = nullptr;
    }

    static jobject Handle(std::size_t nNumber) { return reinterpret_cast<jobject>(nNumber); }
    static std::string Number(jobject obj) { return std::to_string(reinterpret_cast<std::size_t>(obj)); }

private:
    static void Note(std::string const& call) { s_pVM->m_calls.push_back(call); }
    static jint JNICALL GetEnv(JavaVM*, void** ppEnv, jint) {
        *ppEnv = &s_pVM->m_env;
        return JNI_OK;
    }
    static jclass JNICALL FindClass(JNIEnv*, char const* pName) {
        std::string const name(pName);
        bool const fFound = (s_pVM->m_fBitmapClass && name == "android/graphics/Bitmap") ||
                            name == "java/lang/Class" || name == "java/lang/Object";
        s_pVM->m_fPending = !fFound;
        return fFound ? static_cast<jclass>(Handle(50)) : nullptr;
    }
    /** The global reference to n is 100 + n. */
    static jobject JNICALL NewGlobalRef(JNIEnv*, jobject obj) {
        Note("new " + Number(obj));
        return Handle(reinterpret_cast<std::size_t>(obj) % 100 + 100);
    }

    static FakeVM* s_pVM;

    // Their names are not the same in every jni.h.
    std::remove_const_t<std::remove_pointer_t<decltype(JavaVM::functions)>> m_invoke = {};
    std::remove_const_t<std::remove_pointer_t<decltype(JNIEnv::functions)>> m_functions = {};
    JavaVM m_vm = {};
    JNIEnv m_env = {};
};

FakeVM* FakeVM::s_pVM = nullptr;

TEST(Jni, ClassesAreFoundOnceThereIsAVirtualMachine) {
    Class const early("android/graphics/Bitmap");
    EXPECT_TRUE(VM::RegisterClass(&early));
    EXPECT_EQ(early.Get(), nullptr);
    {
        FakeVM vm;
        EXPECT_EQ(FakeVM::Number(early.Get()), "150");
        VM::UnregisterClass(&early);
        EXPECT_EQ(early.Get(), nullptr);
        EXPECT_EQ(vm.m_calls, std::vector<std::string>{"delete 150"});
        VM::UnregisterClass(&early);
        EXPECT_EQ(vm.m_calls.size(), 1u);
    }
    EXPECT_EQ(VM::GetEnv(), nullptr);
}

TEST(Jni, AClassThatCannotBeFoundIsReported) {
    FakeVM vm;
    kelvo::test::TraceLog traces;
    Class const unknown("no/Such");
    EXPECT_FALSE(VM::RegisterClass(&unknown));
    EXPECT_FALSE(vm.m_fPending) << "what Java threw is cleared";
    ASSERT_EQ(traces.Messages().size(), 2u);
    EXPECT_NE(traces.Messages()[1].find("no/Such"), std::string::npos);
    BitmapObject const bitmap(FakeVM::Handle(1));
    vm.m_fPending = true;
    EXPECT_FALSE(bitmap.IsInstanceOf(unknown));
    EXPECT_FALSE(vm.m_fPending) << "an exception does not stay because the class is missing";
    VM::UnregisterClass(&unknown);
    EXPECT_FALSE(VM::RegisterClass(nullptr));
}

TEST(Jni, WithTheVirtualMachineGoTheClasses) {
    {
        FakeVM vm;
        EXPECT_NE(android::graphics::Bitmap::GetClass().Get(), nullptr);
        vm.m_fBitmapClass = false; // as on a thread whose loader does not know it
        EXPECT_TRUE(VM::RegisterClass(&android::graphics::Bitmap::GetClass()));
        EXPECT_NE(android::graphics::Bitmap::GetClass().Get(), nullptr);
    }
    EXPECT_EQ(android::graphics::Bitmap::GetClass().Get(), nullptr);
}

} // namespace
} // namespace trevik::jni
