// Bitmaps over the surfaces of textures, drawn into by Java, as they are seen.

#include "JavaTest.h"

#include <GLES2/gl2.h>
#include <GraphicsJNI.h>
#include <SkBitmap.h>

#include <cstring>

namespace kelvo::test {
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
    struct Format {
        int format;
        char const* config;
        std::vector<int> bits;
    };
    static std::vector<Format> Formats() {
        return {{0, "RGB_565", {5, 6, 5, 0}},
                {2, "ARGB_4444", {4, 4, 4, 4}},
                {3, "ARGB_4444", {4, 4, 4, 4}},
                {6, "ARGB_8888", {8, 8, 8, 8}},
                {7, "ARGB_8888", {8, 8, 8, 8}}};
    }

    void SetUp() override {
        JavaTest::SetUp();
        Open();
        if (!MakeSurfaceTexture(6, 1, 1)->Promote(false))
            GTEST_SKIP() << "no images of graphic buffers";
    }

    Image Expected(int left, int bottom, std::vector<int> const& bits) const {
        Canvas canvas(Width, Height, {0, 0, 0, 1});
        for (int y = 0; y < BitmapHeight; ++y) {
            for (int x = 0; x < BitmapWidth; ++x)
                canvas.Blend(left + x, bottom + y, 1, 1, Painted(x, y, bits));
        }
        return canvas.Picture();
    }
};

TEST_F(JavaBitmaps, WhatJavaDrawsIsSeenUprightInEachFormat) {
    for (Format const& each : Formats()) {
        for (bool const fDouble : {false, true}) {
            SCOPED_TRACE(std::to_string(each.format) + (fDouble ? ", double" : ""));
            Ref<TextureGL2> const pTexture = MakeSurfaceTexture(each.format, BitmapWidth, BitmapHeight);
            ASSERT_TRUE(pTexture->Promote(fDouble));
            SurfaceInfo info = {};
            ASSERT_TRUE(pTexture->GetSurfaceInfo(&info));
            EXPECT_GT(info.m_nStride, BitmapWidth * pTexture->GetBytesPerPixel());
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

TEST_F(JavaBitmaps, PixelsThatAreReadAndWrittenStayTheSame) {
    // Every pixel that premultiplied colours can be, in bitmaps of 256 by 256.
    for (Format const& each : Formats()) {
        SCOPED_TRACE(each.format);
        Ref<TextureGL2> const pTexture = MakeSurfaceTexture(each.format, 256, 256);
        ASSERT_TRUE(pTexture->Promote(false));
        std::vector<std::uint32_t> pixels;
        for (std::uint32_t n = 0; n < 0x10000; ++n) {
            std::uint32_t pixel = n;
            if (each.bits[0] == 4) {
                std::uint32_t const a = n & 15;
                bool const fPossible = n >> 12 <= a && (n >> 8 & 15) <= a && (n >> 4 & 15) <= a;
                pixel = fPossible ? n : 0;
            } else if (each.bits[0] == 8) {
                // Alpha and a colour that it allows; the other colours are made of both.
                std::uint32_t const a = n >> 8;
                std::uint32_t const c = (n & 255) <= a ? n & 255 : a;
                pixel = a << 24 | (a - c) << 16 | (c / 2) << 8 | c;
            }
            pixels.push_back(pixel);
        }
        std::size_t const nBytes = each.bits[0] == 8 ? 4 : 2;
        auto* pSurface = static_cast<unsigned char*>(pTexture->Lock());
        ASSERT_NE(pSurface, nullptr);
        for (std::size_t n = 0; n < pixels.size(); ++n)
            std::memcpy(pSurface + n * nBytes, &pixels[n], nBytes); // the rows have no gaps at this width
        pTexture->Unlock();
        JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
        Tell("kelvo/test/Painter", "rewrite", TakesBitmap, bitmap.Get());
        SurfaceInfo info = {};
        ASSERT_TRUE(pTexture->GetSurfaceInfo(&info));
        ASSERT_EQ(info.m_nStride, int(256 * nBytes));
        pSurface = static_cast<unsigned char*>(pTexture->Lock());
        for (std::size_t n = 0; n < pixels.size(); ++n) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, pSurface + n * nBytes, nBytes);
            EXPECT_EQ(pixel, pixels[n]);
            if (pixel != pixels[n])
                break;
        }
        pTexture->Unlock();
    }
}

TEST_F(JavaBitmaps, RefuseWhatIsOutsideAndDoNothingThen) {
    Ref<TextureGL2> const pTexture = MakeSurfaceTexture(6, BitmapWidth, BitmapHeight);
    JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
    Tell("kelvo/test/Painter", "paint", TakesBitmap, bitmap.Get());
    EXPECT_EQ(Ask("kelvo/test/Refusals", "outside", TellsOfBitmap, bitmap.Get()), "");
}

TEST_F(JavaBitmaps, OfFormatsThatJavaDoesNotKnowRefuseEveryTouch) {
    for (int const format : {1, 4, 5}) {
        SCOPED_TRACE(format);
        Ref<TextureGL2> const pTexture = MakeSurfaceTexture(format, BitmapWidth, BitmapHeight);
        JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
        ASSERT_FALSE(bitmap.IsEmpty());
        EXPECT_EQ(Ask("kelvo/test/Painter", "describe", TellsOfBitmap, bitmap.Get()),
                  "null true 21x9 160 true");
        EXPECT_EQ(Ask("kelvo/test/Refusals", "everything", TellsOfBitmap, bitmap.Get()), "");
    }
}

TEST_F(JavaBitmaps, RefuseEveryTouchOnceRecycled) {
    Ref<TextureGL2> pTexture = MakeSurfaceTexture(6, BitmapWidth, BitmapHeight);
    JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
    jclass const bitmapClass = FindClass("android/graphics/Bitmap");
    jmethodID const recycle = Env()->GetMethodID(bitmapClass, "recycle", "()V");
    for (int n = 0; n < 2; ++n) {
        Env()->CallVoidMethod(bitmap.Get(), recycle);
        EXPECT_EQ(TakeException(Env()), "");
    }
    EXPECT_EQ(Ask("kelvo/test/Refusals", "everything", TellsOfBitmap, bitmap.Get()), "");
    EXPECT_EQ(Ask("kelvo/test/Painter", "describe", TellsOfBitmap, bitmap.Get()),
              "ARGB_8888 true 21x9 160 true");
}

TEST_F(JavaBitmaps, KeepTheirPixelsWhenTheTextureIsGone) {
    JavaBitmap const bitmap =
        MakeSurfaceTexture(6, BitmapWidth, BitmapHeight)->CreateJavaBitmapFromTexture(0);
    Device().Process();
    Tell("kelvo/test/Painter", "paint", TakesBitmap, bitmap.Get());
    EXPECT_EQ(Ask("kelvo/test/Refusals", "outside", TellsOfBitmap, bitmap.Get()), "");
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
    EXPECT_EQ(Ask("kelvo/test/Refusals", "writing", TellsOfBitmap, bitmap), "5a000000");
}

/** A surface's pixels, which are those of nobody else once there is no more of it. */
class SurfaceWatch {
public:
    explicit SurfaceWatch(TextureGL2& texture) : m_nTexture(texture.GetGLTexture()) {}
    bool IsGone() const { return glIsTexture(m_nTexture) == GL_FALSE; }

private:
    GLuint m_nTexture;
};

TEST_F(JavaBitmaps, LetTheSurfaceGoWhenJavaForgetsThem) {
    Ref<TextureGL2> pTexture = MakeSurfaceTexture(6, BitmapWidth, BitmapHeight);
    {
        // Whoever makes a bitmap has a local reference to it, which goes with the native method's frame.
        ASSERT_EQ(Env()->PushLocalFrame(16), JNI_OK);
        JavaBitmap const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
        ASSERT_FALSE(bitmap.IsEmpty());
        Env()->PopLocalFrame(nullptr);
    }
    pTexture->Swap();
    SurfaceWatch const surface(*pTexture);
    pTexture.Reset();
    EXPECT_FALSE(surface.IsGone());
    for (int n = 0; n < 500 && !surface.IsGone(); ++n) {
        Tell("kelvo/test/Collector", "collect", "()V");
        Device().Process();
    }
    EXPECT_TRUE(surface.IsGone());
}

} // namespace
} // namespace kelvo::test
