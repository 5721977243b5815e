// Classes that are not on the class path: found where the application registers, used on every thread.

#include "JavaTest.h"

#include "kelvo_desktop/JavaBitmaps.h"
#include "trevik/jni/VM.h"

#include <functional>
#include <thread>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::Ref;
using trevik::jni::VM;

trevik::jni::Class const g_application("kelvo/test/isolated/Application");

/** The native method of the application, which runs on behalf of its class loader. */
jboolean JNICALL RegisterApplication(JNIEnv* env, jclass) {
    JavaVM* pVM = nullptr;
    env->GetJavaVM(&pVM);
    VM::SetJavaVM(pVM);
    bool const fBitmaps = kelvo::desktop::RegisterBitmapClass(env);
    return VM::RegisterClass(&g_application) && fBitmaps;
}

class JavaLoaders : public JavaTest {
protected:
    void SetUp() override {
        JavaTest::SetUp();
        Open();
        m_pTexture = MakeSurfaceTexture(6, 5, 3);
        if (!m_pTexture->Promote(false))
            GTEST_SKIP() << "no images of graphic buffers";
    }
    void TearDown() override {
        m_pTexture.Reset();
        VM::UnregisterClass(&g_application);
        kelvo::desktop::UnregisterBitmapClass(Env());
        VM::SetJavaVM(m_machine.VirtualMachine());
        JavaTest::TearDown();
    }
    /** Loads the application with a loader of its own, and lets it register. */
    void StartApplication() {
        jclass const loaders = FindClass("kelvo/test/Loaders");
        jmethodID const load = Env()->GetStaticMethodID(
            loaders, "load", "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/Class;");
        jobject const files = Env()->NewStringUTF(KELVO_ANDROID_JAR ":" KELVO_ISOLATED_JAR);
        jobject const name = Env()->NewStringUTF("kelvo.test.isolated.Application");
        auto const application =
            static_cast<jclass>(Env()->CallStaticObjectMethod(loaders, load, files, name));
        ASSERT_EQ(TakeException(Env()), "");
        char method[] = "register";
        char signature[] = "()Z";
        JNINativeMethod const native = {method, signature, reinterpret_cast<void*>(&RegisterApplication)};
        ASSERT_EQ(Env()->RegisterNatives(application, &native, 1), JNI_OK);
        jmethodID const start = Env()->GetStaticMethodID(application, "start", "()Z");
        EXPECT_TRUE(Env()->CallStaticBooleanMethod(application, start));
        ASSERT_EQ(TakeException(Env()), "");
    }
    void OnNativeThread(std::function<void(JNIEnv*)> const& work) {
        std::thread([&] {
            void* pEnv = nullptr;
            ASSERT_EQ(m_machine.VirtualMachine()->AttachCurrentThread(&pEnv, nullptr), JNI_OK);
            work(static_cast<JNIEnv*>(pEnv));
            m_machine.VirtualMachine()->DetachCurrentThread();
        }).join();
    }

    Ref<TextureGL2> m_pTexture;
};

TEST_F(JavaLoaders, ClassesAreFoundByTheApplicationsLoaderAndUsedOnEveryThread) {
    StartApplication();
    ASSERT_FALSE(HasFatalFailure());
    jclass const bitmapOfClassPath = FindClass("android/graphics/Bitmap");
    jclass const bitmapClass = trevik::jni::android::graphics::Bitmap::GetClass().Get();
    EXPECT_FALSE(Env()->IsSameObject(bitmapClass, bitmapOfClassPath));
    OnNativeThread([&](JNIEnv* env) {
        EXPECT_EQ(env->FindClass("kelvo/test/isolated/Application"), nullptr);
        EXPECT_NE(TakeException(env), "");
        EXPECT_NE(g_application.Get(), nullptr);
        JavaBitmap const bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
        ASSERT_FALSE(bitmap.IsEmpty());
        EXPECT_TRUE(env->IsSameObject(env->GetObjectClass(bitmap.Get()), bitmapClass));
        // Its native methods are there, too.
        jmethodID const eraseColor = env->GetMethodID(bitmapClass, "eraseColor", "(I)V");
        env->CallVoidMethod(bitmap.Get(), eraseColor, jint(0xFF0A3CC8));
        EXPECT_EQ(TakeException(env), "");
    });
    auto const* const pPixels = static_cast<unsigned char const*>(m_pTexture->Lock());
    EXPECT_EQ(std::vector<int>(pPixels, pPixels + 4), (std::vector<int>{0x0A, 0x3C, 0xC8, 0xFF}));
    m_pTexture->Unlock();
}

TEST_F(JavaLoaders, WithoutRegistrationAThreadsOwnBitmapsAreOfAnotherClassAndDropped) {
    StartApplication();
    ASSERT_FALSE(HasFatalFailure());
    kelvo::desktop::UnregisterBitmapClass(Env());
    OnNativeThread([&](JNIEnv* env) {
        EXPECT_TRUE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
        EXPECT_FALSE(env->ExceptionCheck());
    });
}

} // namespace
} // namespace kelvo::test
