// A thread of Java's paints into the surfaces of a texture while native code draws them.

#include "JavaTest.h"

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::Ref;

constexpr int PictureCount = 40;

class JavaProducer : public JavaTest {
protected:
    static constexpr char const* ProducerName = "kelvo/test/Producer";

    /** A producer of pictures for both of the texture's surfaces, from the current one on. */
    jobject MakeProducer(TextureGL2& texture) {
        jclass const bitmapClass = FindClass("android/graphics/Bitmap");
        jobjectArray const bitmaps = Env()->NewObjectArray(2, bitmapClass, nullptr);
        for (int n = 0; n < 2; ++n) {
            JavaBitmap const bitmap = texture.CreateJavaBitmapFromTexture(n);
            EXPECT_FALSE(bitmap.IsEmpty());
            Env()->SetObjectArrayElement(bitmaps, n, bitmap.Get());
        }
        jclass const producer = FindClass(ProducerName);
        jmethodID const constructor =
            Env()->GetMethodID(producer, "<init>", "([Landroid/graphics/Bitmap;II)V");
        jobject const object =
            Env()->NewObject(producer, constructor, bitmaps, jint(texture.Current()), jint(PictureCount));
        EXPECT_EQ(TakeException(Env()), "");
        return object;
    }
    void Call(jobject producer, char const* method) {
        Env()->CallVoidMethod(producer, Env()->GetMethodID(FindClass(ProducerName), method, "()V"));
        EXPECT_EQ(TakeException(Env()), "") << method;
    }
    int Waiting(jobject producer) {
        jmethodID const waiting = Env()->GetMethodID(FindClass(ProducerName), "waiting", "()I");
        int const nPicture = Env()->CallIntMethod(producer, waiting);
        EXPECT_EQ(TakeException(Env()), "");
        return nPicture;
    }
};

TEST_F(JavaProducer, PaintsWholePicturesWhileOthersAreDrawn) {
    Open();
    Ref<TextureGL2> const pTexture = MakeSurfaceTexture(6, 37, 23);
    if (!pTexture->Promote(true))
        GTEST_SKIP() << "no images of graphic buffers";
    AddSprite(Root(), 7, 5, pTexture);
    jobject const producer = MakeProducer(*pTexture);
    Call(producer, "start");
    int nShown = 0;
    while (nShown < PictureCount) {
        ASSERT_EQ(Env()->PushLocalFrame(16), JNI_OK);
        int const nWaiting = Waiting(producer);
        ASSERT_GE(nWaiting, 0) << "painting failed";
        if (nWaiting > 0) {
            ASSERT_EQ(nWaiting, nShown + 1);
            pTexture->Swap();
            nShown = nWaiting;
            Call(producer, "take");
        }
        // The next picture is being painted into the other surface now.
        Image const frame = DrawFrame();
        if (nShown > 0) {
            int const nColour = nShown * 0x050301;
            Pixel const colour = {std::uint8_t(nColour >> 16), std::uint8_t(nColour >> 8),
                                  std::uint8_t(nColour), 255};
            Image expected(Width, Height);
            expected.Fill(7, Height - 5 - 23, 37, 23, colour);
            ASSERT_TRUE(CompareImages(frame, expected, Rounding));
        }
        Env()->PopLocalFrame(nullptr);
    }
    Call(producer, "join");
}

} // namespace
} // namespace kelvo::test
