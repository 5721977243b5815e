#pragma once

#include "JObject.h"
#include "Machine.h"
#include "TextureGL2.h"
#include "kelvo_test/Stage.h"
#include "kelvo_test/Threads.h"
#include "trevik/kelvo/SurfaceInfo.h"
#include "trevik/kelvo/TextureFormat.h"

#include <memory>
#include <string>
#include <vector>

namespace kelvokit::test {

using JavaBitmap = trevik::jni::Object<trevik::jni::android::graphics::Bitmap>;

/**
 * A test that draws with a Java virtual machine at hand. It fails when the machine complains about a use of
 * JNI, or when a Java exception is left pending.
 */
class JavaTest : public Stage {
protected:
    void SetUp() override;
    void TearDown() override;

    JNIEnv* Env() const { return m_machine.Env(); }
    /** A class of the tests. */
    jclass FindClass(char const* name) const { return FindClass(Env(), name); }
    static jclass FindClass(JNIEnv* env, char const* name);
    /** What a static method that takes one object, or none, and returns a text says. */
    std::string Ask(char const* className, char const* method, char const* signature,
                    jobject argument = nullptr) const;
    /** Calls a static method of a class of the tests that takes one object, or none, and returns nothing. */
    void Tell(char const* className, char const* method, char const* signature,
              jobject argument = nullptr) const;
    /** Clears the pending exception: what it says of itself; empty when there is none. */
    static std::string TakeException(JNIEnv* env);
    static std::string Text(JNIEnv* env, jobject text);

    /** A texture without picture, not promoted yet. */
    static trevik::Ref<trevik::kelvo::TextureGL2> MakeSurfaceTexture(int format, int width, int height);

    /** A device and such a texture of 8 bits a channel, promoted; skips the test where that cannot be. */
    void StartWithSurface(int width, int height, bool fDouble);
    /** Calls `work` with the environment of a thread of its own. */
    template <class Work>
    void OnNativeThread(Work const& work) {
        RunOnThreads(1, [&](int) {
            void* pEnv = nullptr;
            ASSERT_EQ(m_machine.VirtualMachine()->AttachCurrentThread(&pEnv, nullptr), JNI_OK);
            work(static_cast<JNIEnv*>(pEnv));
            m_machine.VirtualMachine()->DetachCurrentThread();
        });
    }

    Machine& m_machine = Machine::Get();
    trevik::Ref<trevik::kelvo::TextureGL2> m_pTexture;
};

/** The signatures of methods that take a bitmap. */
inline constexpr char const* TakesBitmap = "(Landroid/graphics/Bitmap;)V";
inline constexpr char const* TellsOfBitmap = "(Landroid/graphics/Bitmap;)Ljava/lang/String;";

} // namespace kelvokit::test
