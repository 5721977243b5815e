// References to Java's objects, and Java's exceptions in native code.

#include "JavaTest.h"

#include "trevik/jni/ExceptionHandler.h"
#include "trevik/jni/VM.h"

#include <thread>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::Ref;

typedef std::vector<std::string> Strings;

class JavaReferences : public JavaTest {
protected:
    void SetUp() override {
        JavaTest::SetUp();
        Open();
        m_pTexture = MakeSurfaceTexture(6, 5, 3);
        if (!m_pTexture->Promote(true))
            GTEST_SKIP() << "no images of graphic buffers";
        m_machine.ForgetCounts();
    }
    void TearDown() override {
        m_pTexture.Reset();
        JavaTest::TearDown();
    }
    void ExpectCounts(int nNew, int nDeleted, char const* when) {
        Machine::Counts const counts = m_machine.GetCounts();
        EXPECT_EQ(counts.nNewGlobals, nNew) << when;
        EXPECT_EQ(counts.nDeletedGlobals, nDeleted) << when;
    }

    Ref<TextureGL2> m_pTexture;
};

TEST_F(JavaReferences, EachBitmapIsHeldByOneGlobalReference) {
    {
        JavaBitmap bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
        ExpectCounts(1, 0, "made");
        EXPECT_EQ(Env()->GetObjectRefType(bitmap.Get()), JNIGlobalRefType);
        JavaBitmap const copy(bitmap);
        ExpectCounts(2, 0, "copied");
        EXPECT_NE(copy.Get(), bitmap.Get());
        EXPECT_TRUE(Env()->IsSameObject(copy.Get(), bitmap.Get()));
        JavaBitmap moved(std::move(bitmap));
        ExpectCounts(2, 0, "moved");
        moved = copy;
        ExpectCounts(3, 1, "assigned");
        JavaBitmap const& self = moved;
        moved = self;
        ExpectCounts(3, 1, "assigned to itself");
        moved = m_pTexture->CreateJavaBitmapFromTexture(1);
        EXPECT_FALSE(Env()->IsSameObject(copy.Get(), moved.Get()));
    }
    ExpectCounts(4, 4, "destroyed");
}

TEST_F(JavaReferences, WhatIsNoBitmapIsNotHeld) {
    jobject const text = Env()->NewStringUTF("no bitmap");
    JavaBitmap const other(text);
    EXPECT_TRUE(other.IsEmpty());
    ExpectCounts(1, 1, "dropped");
    JavaBitmap const none(nullptr);
    EXPECT_TRUE(none.IsEmpty());
    ExpectCounts(1, 1, "nothing");
}

TEST_F(JavaReferences, OnAThreadWithoutJavaThereAreNoBitmaps) {
    Reports reports;
    std::thread([this] {
        EXPECT_EQ(trevik::jni::VM::GetEnv(), nullptr);
        EXPECT_TRUE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
    }).join();
    EXPECT_EQ(reports.m_failures, Strings{"include/JObject:1135: env"});
    ExpectCounts(0, 0, "nothing was made");
}

TEST_F(JavaReferences, ThreadsThatAreAttachedHaveEnvironmentsOfTheirOwn) {
    std::thread([this] {
        void* pEnv = nullptr;
        ASSERT_EQ(m_machine.VirtualMachine()->AttachCurrentThread(&pEnv, nullptr), JNI_OK);
        EXPECT_EQ(trevik::jni::VM::GetEnv(), pEnv);
        EXPECT_NE(trevik::jni::VM::GetEnv(), Env());
        EXPECT_FALSE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
        m_machine.VirtualMachine()->DetachCurrentThread();
        EXPECT_EQ(trevik::jni::VM::GetEnv(), nullptr);
    }).join();
    EXPECT_EQ(trevik::jni::VM::GetEnv(), Env());
    ExpectCounts(1, 1, "made and destroyed");
}

TEST_F(JavaReferences, APendingExceptionIsReportedAndCleared) {
    JavaBitmap const bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
    Env()->ThrowNew(FindClass("java/lang/IllegalArgumentException"), "zu früh");
    Reports reports;
    JavaBitmap const copy(bitmap);
    EXPECT_FALSE(Env()->ExceptionCheck());
    EXPECT_FALSE(copy.IsEmpty());
    EXPECT_EQ(reports.m_traces,
              Strings{"[kelvo] Java exception BEFORE env->NewGlobalRef(obj) (include/JObject:1045): "
                      "java.lang.IllegalArgumentException: zu früh"});
}

TEST_F(JavaReferences, AnExceptionThatThrowsWhenAskedIsReportedWithoutItsWords) {
    jclass const mute = FindClass("kelvo/test/Mute");
    jmethodID const constructor = Env()->GetMethodID(mute, "<init>", "()V");
    jobject const exception = Env()->NewObject(mute, constructor);
    ASSERT_EQ(TakeException(Env()), "");
    Env()->Throw(static_cast<jthrowable>(exception));
    Reports reports;
    EXPECT_TRUE(
        trevik::jni::ExceptionHandler::CheckForException(Env(), "AFTER", "source/File", 7, "env->Call()"));
    EXPECT_FALSE(Env()->ExceptionCheck());
    EXPECT_EQ(reports.m_traces, Strings{"[kelvo] Java exception AFTER env->Call() (source/File:7): "});
    EXPECT_FALSE(
        trevik::jni::ExceptionHandler::CheckForException(Env(), "AFTER", "source/File", 7, "env->Call()"));
}

class JavaWithoutBitmaps : public JavaReferences {};

TEST_F(JavaWithoutBitmaps, TheirMakingFailsWithAReport) {
    if (!std::getenv("KELVO_TEST_CLASS_PATH"))
        GTEST_SKIP() << "there are bitmaps on the class path";
    Reports reports;
    EXPECT_TRUE(m_pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
    EXPECT_FALSE(Env()->ExceptionCheck());
    EXPECT_EQ(reports.m_traces,
              Strings{"[kelvo] Java exception BEFORE env->IsInstanceOf(object.Get(), Get()) "
                      "(include/JObject:1136): java.lang.NoClassDefFoundError: android/graphics/Bitmap"});
    EXPECT_FALSE(trevik::jni::VM::RegisterClass(&trevik::jni::android::graphics::Bitmap::GetClass()));
    ExpectCounts(0, 0, "nothing was made");
}

} // namespace
} // namespace kelvo::test
