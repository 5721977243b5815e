// Bitmaps over the surfaces of textures, drawn into by Java, as they are seen.

#include "JavaTest.h"

#include <GLES2/gl2.h>
#include <GraphicsJNI.h>
#include <SkBitmap.h>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using trevik::Ref;

constexpr int BitmapWidth = 21; // rows in memory are longer
constexpr int BitmapHeight = 9;

/** 8 bits cut to the upper `nBits` and spread over all 8 again. */
double Cut(int value, int nBits) {
    int const nMaximum = (1 << nBits) - 1;
    return double(value >> (8 - nBits)) / nMaximum;
}

/** What kelvo.test.Painter paints at a place, y upward, kept in `bits` of red, green, blue and alpha. */
Shade Painted(int x, int y, std::vector<int> const& bits) {
    int r = 255 * x / (BitmapWidth - 1);
    int g = 255 * y / (BitmapHeight - 1);
    int b = x < BitmapWidth / 2 ? 40 : 200;
    int a = 255;
    if (x == 0) {
        r = g = b = 255;
    } else if (x == 2 && y == 1) {
        // 0x80FF8020, premultiplied
        r = 0x80;
        g = 0x40;
        b = 0x10;
        a = 0x80;
    }
    return {Cut(r, bits[0]), Cut(g, bits[1]), Cut(b, bits[2]), bits[3] == 0 ? 1 : Cut(a, bits[3])};
}

class JavaBitmaps : public JavaTest {
protected:
    void SetUp() override {
        JavaTest::SetUp();
        StartWithSurface(BitmapWidth, BitmapHeight, true);
    }

    Image Expected(int left, int bottom, std::vector<int> const& bits) const {
        Canvas canvas(Width, Height);
        for (int y = 0; y < BitmapHeight; ++y) {
            for (int x = 0; x < BitmapWidth; ++x) {
                canvas.Blend(left + x, bottom + y, 1, 1, Painted(x, y, bits));
            }
        }
        return canvas.Picture();
    }
};

TEST_F(JavaBitmaps, WhatJavaDrawsIsSeenUprightInEachFormat) {
    struct {
        int format;
        char const* config;
        std::vector<int> bits;
    } const formats[] = {
        {0, "RGB_565", {5, 6, 5, 0}}, {3, "ARGB_4444", {4, 4, 4, 4}}, {6, "ARGB_8888", {8, 8, 8, 8}}};
    for (auto const& each : formats) {
        for (bool const fDouble : {false, true}) {
            SCOPED_TRACE(std::to_string(each.format) + (fDouble ? ", double" : ""));
            Ref<TextureGL2> const pTexture = MakeSurfaceTexture(each.format, BitmapWidth, BitmapHeight);
            ASSERT_TRUE(pTexture->Promote(fDouble));
            Ref<Sprite> const pSprite = AddSprite(Root(), 23, 17, pTexture);
            JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(pTexture->Current());
            ASSERT_FALSE(bitmap.IsEmpty());
            EXPECT_EQ(Ask("kelvo/test/Painter", "describe", TellsOfBitmap, bitmap.Get()),
                      std::string(each.config) + " true 21x9 160 true");
            Tell("kelvo/test/Painter", "paint", TakesBitmap, bitmap.Get());
            pTexture->Swap();
            EXPECT_TRUE(CompareImages(DrawFrame(), Expected(23, 17, each.bits), Rounding,
                                      std::to_string(each.format)));
            Root().Detach(pSprite.Get());
        }
    }
}

TEST_F(JavaBitmaps, RefuseWhatIsOutsideAndKeepTheirPixelsWhenTheTextureIsGone) {
    JavaBitmap const bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
    m_pTexture.Reset();
    Device().Process();
    Tell("kelvo/test/Painter", "paint", TakesBitmap, bitmap.Get());
    EXPECT_EQ(Ask("kelvo/test/Refusals", "outside", TellsOfBitmap, bitmap.Get()), "");
}

TEST_F(JavaBitmaps, OfFormatsThatJavaDoesNotKnowAndRecycledOnesRefuseEveryTouch) {
    for (int const format : {1, 4, 5, 6}) {
        SCOPED_TRACE(format);
        Ref<TextureGL2> const pTexture = MakeSurfaceTexture(format, BitmapWidth, BitmapHeight);
        JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
        ASSERT_FALSE(bitmap.IsEmpty());
        jmethodID const recycle = Env()->GetMethodID(FindClass("android/graphics/Bitmap"), "recycle", "()V");
        for (int n = 0; n < 2 && format == 6; ++n) {
            Env()->CallVoidMethod(bitmap.Get(), recycle);
            EXPECT_EQ(TakeException(Env()), "");
        }
        EXPECT_EQ(Ask("kelvo/test/Painter", "describe", TellsOfBitmap, bitmap.Get()),
                  std::string(format == 6 ? "ARGB_8888" : "null") + " true 21x9 160 true");
        EXPECT_EQ(Ask("kelvo/test/Refusals", "everything", TellsOfBitmap, bitmap.Get()), "");
    }
}

/** 3 by 3 bytes that are no surface's. */
class BytePixels : public SkPixelRef {
public:
    Factory getFactory() override { return nullptr; }

protected:
    void* onLockPixels(SkColorTable** ppTable) override {
        *ppTable = nullptr;
        return m_bytes;
    }
    void onUnlockPixels() override {}

private:
    unsigned char m_bytes[9] = {0, 0, 0, 0, 0, 0, 0, 0x5A, 0};
};

TEST_F(JavaBitmaps, ThatAreImmutableAreOnlyRead) {
    auto* const pBitmap = new SkBitmap;
    pBitmap->setConfig(SkBitmap::kA8_Config, 3, 3);
    pBitmap->setPixelRef(new BytePixels)->unref();
    jbyteArray const chunk = Env()->NewByteArray(4);
    jobject const bitmap = GraphicsJNI::createBitmap(Env(), pBitmap, false, chunk, 240);
    ASSERT_EQ(TakeException(Env()), "");
    EXPECT_EQ(Ask("kelvo/test/Painter", "describe", TellsOfBitmap, bitmap), "ALPHA_8 false 3x3 240 false");
    EXPECT_EQ(Ask("kelvo/test/Refusals", "reading", TellsOfBitmap, bitmap), "5a000000 5a000000");
}

TEST_F(JavaBitmaps, LetTheSurfaceGoWhenJavaForgetsThem) {
    {
        // The maker of a bitmap has a local reference to it, which goes with the native method's frame.
        ASSERT_EQ(Env()->PushLocalFrame(16), JNI_OK);
        JavaBitmap const bitmap = m_pTexture->CreateJavaBitmapFromTexture(0);
        ASSERT_FALSE(bitmap.IsEmpty());
        Env()->PopLocalFrame(nullptr);
    }
    m_pTexture->Swap();
    GLuint const nTexture = m_pTexture->GetGLTexture(); // the surface's, and nobody else's once that is gone
    m_pTexture.Reset();
    EXPECT_TRUE(glIsTexture(nTexture));
    for (int n = 0; n < 500 && glIsTexture(nTexture); ++n) {
        Tell("kelvo/test/Collector", "collect", "()V");
        Device().Process();
    }
    EXPECT_FALSE(glIsTexture(nTexture));
}

} // namespace
} // namespace kelvokit::test
