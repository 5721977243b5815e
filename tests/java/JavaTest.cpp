// The library's version as Java asks for it.

#include "JavaTest.h"

namespace kelvokit::test {

using namespace trevik::kelvo;

void JavaTest::SetUp() {
    m_machine.TakeComplaints();
    ASSERT_EQ(Env()->PushLocalFrame(256), JNI_OK);
}

void JavaTest::TearDown() {
    m_pTexture.Reset();
    EXPECT_EQ(TakeException(Env()), "");
    Env()->PopLocalFrame(nullptr);
    EXPECT_EQ(m_machine.TakeComplaints(), std::vector<std::string>());
}

std::string JavaTest::Text(JNIEnv* env, jobject text) {
    auto const string = static_cast<jstring>(text);
    char const* const pUnits = string ? env->GetStringUTFChars(string, nullptr) : nullptr;
    std::string const result = pUnits ? pUnits : "";
    if (pUnits) {
        env->ReleaseStringUTFChars(string, pUnits);
    }
    return result;
}

std::string JavaTest::TakeException(JNIEnv* env) {
    jthrowable const thrown = env->ExceptionOccurred();
    if (!thrown) {
        return "";
    }
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
    if (!id) {
        return TakeException(Env()) + " instead of " + method;
    }
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

void JavaTest::StartWithSurface(int width, int height, bool fDouble) {
    Open();
    m_pTexture = MakeSurfaceTexture(6, width, height);
    if (!m_pTexture->Promote(fDouble)) {
        GTEST_SKIP() << "no images of graphic buffers";
    }
}

namespace {

TEST_F(JavaTest, TheLibraryTellsJavaItsVersion) {
    EXPECT_EQ(Ask("com/omnar/trevik/fx/FxObject", "version", "()Ljava/lang/String;"), "1.1213.2");
}

} // namespace
} // namespace kelvokit::test
