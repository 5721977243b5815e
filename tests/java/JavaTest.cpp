// The virtual machine at hand, and the library's version as Java asks for it.

#include "JavaTest.h"

#include "trevik/Assert.h"
#include "trevik/Debug.h"

namespace kelvo::test {

using namespace trevik::kelvo;
using trevik::Debug;
using trevik::String16;
using trevik::String8;

void JavaTest::SetUp() {
    m_machine.TakeComplaints();
    ASSERT_EQ(Env()->PushLocalFrame(256), JNI_OK);
}

void JavaTest::TearDown() {
    EXPECT_EQ(TakeException(Env()), "");
    Env()->PopLocalFrame(nullptr);
    EXPECT_EQ(m_machine.TakeComplaints(), std::vector<std::string>());
}

std::string JavaTest::Text(JNIEnv* env, jobject text) {
    auto const string = static_cast<jstring>(text);
    char const* const pUnits = string ? env->GetStringUTFChars(string, nullptr) : nullptr;
    std::string const result = pUnits ? pUnits : "";
    if (pUnits)
        env->ReleaseStringUTFChars(string, pUnits);
    return result;
}

std::string JavaTest::TakeException(JNIEnv* env) {
    jthrowable const thrown = env->ExceptionOccurred();
    if (!thrown)
        return "";
    env->ExceptionClear();
    jclass const throwable = env->FindClass("java/lang/Throwable");
    jmethodID const toString = env->GetMethodID(throwable, "toString", "()Ljava/lang/String;");
    jobject const text = env->CallObjectMethod(thrown, toString);
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
        return "an exception that does not say what it is";
    }
    return Text(env, text);
}

jclass JavaTest::FindClass(JNIEnv* env, char const* name) {
    jclass const found = env->FindClass(name);
    EXPECT_EQ(TakeException(env), "");
    return found;
}

std::string JavaTest::Ask(char const* className, char const* method, char const* signature,
                          jobject argument) const {
    jclass const found = FindClass(className);
    jmethodID const id = found ? Env()->GetStaticMethodID(found, method, signature) : nullptr;
    if (!id)
        return TakeException(Env()) + " instead of " + method;
    jobject const text = Env()->CallStaticObjectMethod(found, id, argument);
    std::string const thrown = TakeException(Env());
    return thrown.empty() ? Text(Env(), text) : thrown;
}

void JavaTest::Tell(char const* className, char const* method, char const* signature,
                    jobject argument) const {
    jclass const found = FindClass(className);
    ASSERT_NE(found, nullptr);
    jmethodID const id = Env()->GetStaticMethodID(found, method, signature);
    ASSERT_NE(id, nullptr);
    Env()->CallStaticVoidMethod(found, id, argument);
    EXPECT_EQ(TakeException(Env()), "") << method;
}

trevik::Ref<TextureGL2> JavaTest::MakeSurfaceTexture(int format, int width, int height) {
    trevik::Ref<TextureGL2> pTexture(new TextureGL2);
    EXPECT_TRUE(pTexture->Replace(width, height, static_cast<TextureFormat::Enum>(format), nullptr, 0));
    return pTexture;
}

Reports::Reports()
    : m_sinkBefore(Debug::SetSink(
          [](void* user, trevik::TraceLevel::Enum, String16 const& message) {
              static_cast<Reports*>(user)->m_traces.push_back(String8(message).GetData());
          },
          this)),
      m_handlerBefore(trevik::SetAssertHandler(
          [](void* user, char const* file, unsigned int line, char const* expression) {
              static_cast<Reports*>(user)->m_failures.push_back(std::string(file) + ":" +
                                                                std::to_string(line) + ": " + expression);
          },
          this)) {}

Reports::~Reports() {
    trevik::SetAssertHandler(m_handlerBefore);
    Debug::SetSink(m_sinkBefore);
}

namespace {

TEST_F(JavaTest, TheLibraryTellsJavaItsVersion) {
    EXPECT_EQ(Ask("com/omnar/trevik/fx/FxObject", "version", "()Ljava/lang/String;"), "1.1213.2");
}

TEST_F(JavaTest, TheMachineComplainsAboutMisuse) {
    // What the other tests rely on: a call while an exception is pending.
    jclass const exception = FindClass("java/lang/IllegalStateException");
    Env()->ThrowNew(exception, "pending");
    Env()->FindClass("java/lang/Object");
    EXPECT_EQ(TakeException(Env()), "java.lang.IllegalStateException: pending");
    EXPECT_FALSE(m_machine.TakeComplaints().empty());
}

} // namespace
} // namespace kelvo::test
