// References to Java's objects, Java's exceptions in native code, and classes that are not on the class path.

#include "JavaTest.h"
#include "kelvo_desktop/JavaBitmaps.h"
#include "trevik/jni/ExceptionHandler.h"
#include "trevik/jni/VM.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using trevik::jni::VM;

typedef std::vector<std::string> Strings;

class JavaReferences : public JavaTest {
protected:
    void SetUp() override {
        JavaTest::SetUp();
        StartWithSurface(5, 3, true);
    }
};

TEST_F(JavaReferences, WhatIsNoBitmapIsNotHeld) {
    EXPECT_TRUE(JavaBitmap(Env()->NewStringUTF("no bitmap")).IsEmpty());
    JavaBitmap const bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
    EXPECT_EQ(Env()->GetObjectRefType(bitmap.Get()), JNIGlobalRefType);
}

TEST_F(JavaReferences, ThreadsHaveEnvironmentsOfTheirOwnAndWithoutOneThereAreNoBitmaps) {
    Diagnostics diagnostics;
    RunOnThreads(1, [this](int) {
        EXPECT_EQ(VM::GetEnv(), nullptr);
        EXPECT_TRUE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
    });
    EXPECT_EQ(diagnostics.Failures(), Strings{"include/JObject:1135: env"});
    OnNativeThread([this](JNIEnv* env) {
        EXPECT_EQ(VM::GetEnv(), env);
        EXPECT_NE(VM::GetEnv(), Env());
        EXPECT_FALSE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
    });
    EXPECT_EQ(VM::GetEnv(), Env());
}

TEST_F(JavaReferences, APendingExceptionIsReportedAndCleared) {
    JavaBitmap const bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
    Env()->ThrowNew(FindClass("java/lang/IllegalArgumentException"), "zu früh");
    Diagnostics diagnostics;
    JavaBitmap const copy(bitmap);
    EXPECT_FALSE(Env()->ExceptionCheck());
    EXPECT_FALSE(copy.IsEmpty());
    EXPECT_EQ(diagnostics.Messages(),
              Strings{"[kelvo] Java exception BEFORE env->NewGlobalRef(obj) (include/JObject:1045): "
                      "java.lang.IllegalArgumentException: zu früh"});
}

TEST_F(JavaReferences, AnExceptionThatThrowsWhenAskedIsReportedWithoutItsWords) {
    jclass const mute = FindClass("kelvo/test/Mute");
    jmethodID const constructor = Env()->GetMethodID(mute, "<init>", "()V");
    jobject const exception = Env()->NewObject(mute, constructor);
    ASSERT_EQ(TakeException(Env()), "");
    Env()->Throw(static_cast<jthrowable>(exception));
    Diagnostics diagnostics;
    EXPECT_TRUE(
        trevik::jni::ExceptionHandler::CheckForException(Env(), "AFTER", "source/File", 7, "env->Call()"));
    EXPECT_FALSE(Env()->ExceptionCheck());
    EXPECT_EQ(diagnostics.Messages(), Strings{"[kelvo] Java exception AFTER env->Call() (source/File:7): "});
    EXPECT_FALSE(
        trevik::jni::ExceptionHandler::CheckForException(Env(), "AFTER", "source/File", 7, "env->Call()"));
}

trevik::jni::Class const g_application("kelvo/test/isolated/Application");

/** The native method of the application, which runs on behalf of its class loader. */
jboolean JNICALL RegisterApplication(JNIEnv* env, jclass) {
    JavaVM* pVM = nullptr;
    env->GetJavaVM(&pVM);
    VM::SetJavaVM(pVM);
    bool const fBitmaps = kelvokit::desktop::RegisterBitmapClass(env);
    return VM::RegisterClass(&g_application) && fBitmaps;
}

class JavaLoaders : public JavaTest {
protected:
    void SetUp() override {
        JavaTest::SetUp();
        StartWithSurface(5, 3, false);
    }
    void TearDown() override {
        VM::UnregisterClass(&g_application);
        kelvokit::desktop::UnregisterBitmapClass(Env());
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
    kelvokit::desktop::UnregisterBitmapClass(Env());
    OnNativeThread([&](JNIEnv* env) {
        EXPECT_TRUE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
        EXPECT_FALSE(env->ExceptionCheck());
    });
}

class JavaWithoutBitmaps : public JavaReferences {};

TEST_F(JavaWithoutBitmaps, TheirMakingFailsWithAReport) {
    if (!std::getenv("KELVO_TEST_CLASS_PATH")) {
        GTEST_SKIP() << "there are bitmaps on the class path";
    }
    Diagnostics diagnostics;
    EXPECT_TRUE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
    EXPECT_FALSE(Env()->ExceptionCheck());
    EXPECT_EQ(diagnostics.Messages(),
              Strings{"[kelvo] Java exception BEFORE env->IsInstanceOf(object.Get(), Get()) "
                      "(include/JObject:1136): java.lang.NoClassDefFoundError: android/graphics/Bitmap"});
    EXPECT_FALSE(VM::RegisterClass(&trevik::jni::android::graphics::Bitmap::GetClass()));
}

} // namespace
} // namespace kelvokit::test
