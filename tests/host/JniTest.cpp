#include <gtest/gtest.h>

#include <type_traits>

#include "TestNodes.h"
#include "trevik/jni/VM.h"

namespace trevik::jni {
namespace {

typedef Object<android::graphics::Bitmap> BitmapObject;

/** A stand-in for a Java virtual machine: objects are small numbers, global references 100 more. */
class FakeVM {
public:
    int m_nGlobals = 0;
    bool m_fPending = false;    ///< a Java exception
    bool m_fBitmapClass = true; ///< whether the class can be found

    FakeVM() {
        s_pVM = this;
        m_invoke.GetEnv = [](JavaVM*, void** ppEnv, jint) {
            *ppEnv = &s_pVM->m_env;
            return jint(JNI_OK);
        };
        m_vm.functions = &m_invoke;
        m_functions.FindClass = [](JNIEnv*, char const* pName) {
            std::string const name(pName);
            bool const fFound = name == "android/graphics/Bitmap" ? s_pVM->m_fBitmapClass : name != "no/Such";
            s_pVM->m_fPending = !fFound;
            return static_cast<jclass>(Handle(fFound ? 50 : 0));
        };
        m_functions.NewGlobalRef = [](JNIEnv*, jobject obj) {
            ++s_pVM->m_nGlobals;
            return Handle(reinterpret_cast<std::size_t>(obj) + 100);
        };
        m_functions.DeleteGlobalRef = [](JNIEnv*, jobject) { --s_pVM->m_nGlobals; };
        m_functions.DeleteLocalRef = [](JNIEnv*, jobject) {};
        m_functions.ExceptionCheck = [](JNIEnv*) { return jboolean(s_pVM->m_fPending); };
        m_functions.ExceptionOccurred = [](JNIEnv*) { return static_cast<jthrowable>(Handle(7)); };
        m_functions.ExceptionClear = [](JNIEnv*) { s_pVM->m_fPending = false; };
        m_functions.GetObjectClass = [](JNIEnv*, jobject) { return static_cast<jclass>(Handle(8)); };
        m_functions.GetMethodID = [](JNIEnv*, jclass, char const*, char const*) {
            return jmethodID(nullptr);
        };
        m_functions.IsInstanceOf = [](JNIEnv*, jobject, jclass) { return jboolean(JNI_TRUE); };
        m_env.functions = &m_functions;
        VM::SetJavaVM(&m_vm);
    }
    ~FakeVM() {
        VM::SetJavaVM(nullptr);
        EXPECT_EQ(m_nGlobals, 0);
    }

    static jobject Handle(std::size_t nNumber) { return reinterpret_cast<jobject>(nNumber); }

private:
    static inline FakeVM* s_pVM;

    // Their names are not the same in every jni.h.
    std::remove_const_t<std::remove_pointer_t<decltype(JavaVM::functions)>> m_invoke = {};
    std::remove_const_t<std::remove_pointer_t<decltype(JNIEnv::functions)>> m_functions = {};
    JavaVM m_vm = {};
    JNIEnv m_env = {};
};

TEST(Jni, ClassesAreFoundOnceThereIsAVirtualMachineAndGoWithIt) {
    Class const early("some/Early"), unknown("no/Such");
    Class const& bitmap = android::graphics::Bitmap::GetClass();
    EXPECT_TRUE(VM::RegisterClass(&early));
    EXPECT_EQ(early.Get(), nullptr);
    {
        FakeVM vm;
        EXPECT_EQ(early.Get(), FakeVM::Handle(150));
        int const nGlobals = vm.m_nGlobals;
        VM::UnregisterClass(&early);
        VM::UnregisterClass(&early);
        EXPECT_EQ(early.Get(), nullptr);
        EXPECT_EQ(vm.m_nGlobals, nGlobals - 1);
        vm.m_fBitmapClass = false; // as on a thread whose loader does not know it
        EXPECT_TRUE(VM::RegisterClass(&bitmap));
        EXPECT_EQ(bitmap.Get(), FakeVM::Handle(150));

        kelvo::test::TraceLog traces;
        EXPECT_FALSE(VM::RegisterClass(nullptr));
        EXPECT_FALSE(VM::RegisterClass(&unknown));
        EXPECT_FALSE(vm.m_fPending) << "what Java threw is cleared";
        ASSERT_EQ(traces.Messages().size(), 2u);
        EXPECT_NE(traces.Messages()[1].find("no/Such"), std::string::npos);
        BitmapObject const object(FakeVM::Handle(1));
        vm.m_fPending = true;
        EXPECT_FALSE(object.IsInstanceOf(unknown));
        EXPECT_FALSE(vm.m_fPending) << "an exception does not stay because the class is missing";
        VM::UnregisterClass(&unknown);
    }
    EXPECT_EQ(bitmap.Get(), nullptr);
    EXPECT_EQ(VM::GetEnv(), nullptr);
}

} // namespace
} // namespace trevik::jni
