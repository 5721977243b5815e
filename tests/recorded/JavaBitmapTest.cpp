// Java's bitmaps: the pixels behind them, and those over a texture's surface.

#include "Android/EGLImageImpl.h"
#include "JObject.h"
#include "SurfaceTest.h"
#include "kelvo_test/JavaMachine.h"
#include "kelvo_test/Threads.h"

#include <GraphicsJNI.h>
#include <SkBitmap.h>
#include <SkPixelRef.h>

#include <algorithm>
#include <cstring>
#include <map>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

/** Pixels in an array, which count who has them brought in. */
class ArrayPixels : public SkPixelRef {
public:
    explicit ArrayPixels(std::size_t nSize) : m_bytes(nSize) {}
    ~ArrayPixels() override { ++s_nDeleted; }

    Factory getFactory() override { return nullptr; }

    std::vector<unsigned char> m_bytes;
    int m_nLocks = 0;
    int m_nUnlocks = 0;
    bool m_fFail = false;
    static int s_nDeleted;

protected:
    void* onLockPixels(SkColorTable** ppTable) override {
        *ppTable = nullptr;
        ++m_nLocks;
        return m_fFail ? nullptr : m_bytes.data();
    }
    void onUnlockPixels() override { ++m_nUnlocks; }
};

int ArrayPixels::s_nDeleted = 0;

/** A stand-in for a Java virtual machine, as far as bitmaps go. */
class FakeJava : public kelvokit::test::JavaMachine {
public:
    FakeJava() {
        m_functions.GetMethodID = [](JNIEnv*, jclass, char const*, char const* pSignature) {
            return std::string(pSignature) == "(JZ[BI)V" ? reinterpret_cast<jmethodID>(&Self().m_class)
                                                         : nullptr;
        };
        m_functions.RegisterNatives = [](JNIEnv*, jclass, JNINativeMethod const* pNatives, jint nCount) {
            for (jint i = 0; i < nCount; ++i) {
                Self().m_natives[pNatives[i].name] = pNatives[i].fnPtr;
            }
            return jint(JNI_OK);
        };
        m_functions.NewObjectA = [](JNIEnv*, jclass, jmethodID, jvalue const* pArguments) -> jobject {
            if (!Self().m_fMakes) {
                return nullptr;
            }
            Self().m_bitmap = pArguments[0].j;
            Self().m_fMutable = pArguments[1].z;
            Self().m_nDensity = pArguments[3].i;
            return &Self().m_object;
        };
        m_functions.DeleteLocalRef = [](JNIEnv*, jobject) { ++Self().m_nDeleted; };
        m_functions.ThrowNew = [](JNIEnv*, jclass, char const* pMessage) {
            Self().m_thrown.push_back(pMessage);
            return jint(0);
        };
        // An array is the address of a vector.
        m_functions.GetIntArrayRegion = [](JNIEnv*, jintArray array, jsize nStart, jsize nCount,
                                           jint* pTarget) {
            std::copy_n(At(array, nStart), nCount, pTarget);
        };
        m_functions.SetIntArrayRegion = [](JNIEnv*, jintArray array, jsize nStart, jsize nCount,
                                           jint const* pSource) {
            std::copy_n(pSource, nCount, At(array, nStart));
        };
        m_nGlobals = 0; // but for the classes'
    }
    ~FakeJava() { Free(); }

    /** What Java does when it collects the bitmap. */
    void Free() {
        if (m_bitmap != 0) {
            Call<void>("nativeFree");
        }
        m_bitmap = 0;
    }
    /** A native method of the bitmap. */
    template <class Result, class... Arguments>
    Result Call(char const* name, Arguments... arguments) {
        using Native = Result(JNICALL*)(JNIEnv*, jclass, jlong, Arguments...);
        return reinterpret_cast<Native>(m_natives.at(name))(&m_env, nullptr, m_bitmap, arguments...);
    }
    SkBitmap const& Bitmap() const { return *reinterpret_cast<SkBitmap const*>(m_bitmap); }

    bool m_fMakes = true;
    bool m_fMutable = false;
    int m_nDensity = 0;
    int m_nDeleted = 0; ///< local references
    std::map<std::string, void*> m_natives;
    jlong m_bitmap = 0;
    Strings m_thrown;

private:
    static jint* At(jintArray array, jsize n) {
        return &reinterpret_cast<std::vector<jint>*>(static_cast<jobject>(array))->at(std::size_t(n));
    }

    static FakeJava& Self() { return static_cast<FakeJava&>(*s_pMachine); }
};

TEST(Bitmap, LocksOfPixelsAreCountedOnAllThreadsAndThePixelsGoWithTheirLastOwner) {
    ArrayPixels::s_nDeleted = 0;
    auto* const pPixels = new ArrayPixels(64);
    SkBitmap first;
    {
        SkBitmap second;
        EXPECT_EQ(first.setPixelRef(pPixels, 8), pPixels);
        second.setPixelRef(pPixels);
        pPixels->unref();
        EXPECT_EQ(pPixels->getRefCnt(), 2);
        EXPECT_EQ(first.getPixels(), nullptr);
        first.lockPixels();
        {
            SkAutoLockPixels const locked(second);
            EXPECT_EQ(first.getPixels(), pPixels->m_bytes.data() + 8);
            EXPECT_EQ(second.getPixels(), pPixels->m_bytes.data());
        }
        EXPECT_TRUE(pPixels->m_nLocks == 1 && pPixels->m_nUnlocks == 0 && pPixels->isLocked());
        first.unlockPixels();
        first.unlockPixels(); // one too many
        EXPECT_TRUE(pPixels->m_nUnlocks == 1 && !pPixels->isLocked());
        EXPECT_EQ(first.getPixels(), nullptr);
        kelvokit::test::RunOnThreads(2, [&](int n) {
            for (int i = 0; i < 1000; ++i) {
                SkAutoLockPixels const locked(n ? first : second);
                EXPECT_NE(first.getPixels(), nullptr);
            }
        });
        EXPECT_EQ(pPixels->m_nLocks, pPixels->m_nUnlocks);
    }
    EXPECT_EQ(ArrayPixels::s_nDeleted, 0);
    first.setConfig(SkBitmap::kA8_Config, 1, 1);
    EXPECT_EQ(first.pixelRef(), nullptr);
    EXPECT_EQ(ArrayPixels::s_nDeleted, 1);
}

TEST(Bitmap, ConfigurationsThatCannotBeMakeItEmpty) {
    struct Case {
        SkBitmap::Config config;
        int width, height, rowBytes;
        int expected; ///< bytes from row to row; -1: it is empty
    } const cases[] = {
        {SkBitmap::kARGB_8888_Config, 5, 3, 0, 20},  {SkBitmap::kARGB_8888_Config, 5, 3, 64, 64},
        {SkBitmap::kARGB_8888_Config, 0, 3, 0, 0},   {SkBitmap::kARGB_8888_Config, 5, 0, 0, 20},
        {SkBitmap::kIndex8_Config, 5, 3, 0, 5},      {SkBitmap::kRGB_565_Config, 5, 3, 0, 10},
        {SkBitmap::kARGB_4444_Config, 5, 3, 10, 10}, {SkBitmap::kA8_Config, 5, 3, 0, 5},
        {SkBitmap::kA1_Config, 9, 3, 0, 2},          {SkBitmap::kNo_Config, 5, 3, 48, 48},
        {SkBitmap::kARGB_8888_Config, 5, 3, 19, -1}, {SkBitmap::kARGB_8888_Config, -1, 3, 0, -1},
        {SkBitmap::kARGB_8888_Config, 5, -3, 0, -1}, {SkBitmap::kARGB_8888_Config, 0x20000000, 1, 0, -1},
    };
    for (Case const& test : cases) {
        SkBitmap bitmap;
        bitmap.setConfig(test.config, test.width, test.height, test.rowBytes);
        std::vector<int> const found = {bitmap.config(), bitmap.width(), bitmap.height(), bitmap.rowBytes()};
        EXPECT_EQ(found, test.expected < 0
                             ? (std::vector<int>{SkBitmap::kNo_Config, 0, 0, 0})
                             : (std::vector<int>{test.config, test.width, test.height, test.expected}));
    }
}

class JavaBitmap : public SurfaceTest {
protected:
    /** Has Java own a bitmap over pixels in an array. */
    ArrayPixels* MakeBitmap(SkBitmap::Config config, int nWidth, int nHeight, int nRowBytes) {
        auto* const pBitmap = new SkBitmap;
        pBitmap->setConfig(config, nWidth, nHeight, nRowBytes);
        auto* const pPixels = new ArrayPixels(std::size_t(nRowBytes) * std::size_t(nHeight));
        pBitmap->setPixelRef(pPixels);
        pPixels->unref();
        m_java.Free();
        EXPECT_NE(GraphicsJNI::createBitmap(Env(), pBitmap, true, nullptr, 240), nullptr);
        return pPixels;
    }
    static jintArray Array(std::vector<jint>& array) { return reinterpret_cast<jintArray>(&array); }
    JNIEnv* Env() { return &m_java.m_env; }

    FakeJava m_java;
};

TEST_F(JavaBitmap, ColoursAreKeptPremultipliedInTheBitsThereAre) {
    struct Case {
        SkBitmap::Config config;
        std::uint32_t written;
        std::vector<unsigned char> bytes;
        std::uint32_t read;
    } const cases[] = {
        {SkBitmap::kARGB_8888_Config, 0xFF0A3CC8, {0x0A, 0x3C, 0xC8, 0xFF}, 0xFF0A3CC8},
        {SkBitmap::kARGB_8888_Config, 0x80FF8000, {0x80, 0x40, 0x00, 0x80}, 0x80FF8000},
        {SkBitmap::kARGB_8888_Config, 0x00FFFFFF, {0, 0, 0, 0}, 0},
        {SkBitmap::kRGB_565_Config, 0xFFFF8400, {0x20, 0xFC}, 0xFFFF8600},
        {SkBitmap::kARGB_4444_Config, 0xFFFF0033, {0x3F, 0xF0}, 0xFFFF0033},
        {SkBitmap::kARGB_4444_Config, 0x88FFFFFF, {0x88, 0x88}, 0x88FFFFFF},
        {SkBitmap::kA8_Config, 0x7F123456, {0x7F}, 0x7F000000},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.written);
        ArrayPixels* const pPixels = MakeBitmap(test.config, 2, 2, 12);
        m_java.Call<void>("nativeSetPixel", 1, 1, jint(test.written));
        std::vector<unsigned char> expected(24);
        std::copy(test.bytes.begin(), test.bytes.end(), expected.begin() + 12 + long(test.bytes.size()));
        EXPECT_EQ(pPixels->m_bytes, expected);
        jint const read = m_java.Call<jint>("nativeGetPixel", 1, 1);
        EXPECT_EQ(std::uint32_t(read), test.read);
    }
    EXPECT_EQ(m_java.m_natives.size(), 9u);
    EXPECT_EQ(m_java.m_nDensity, 240);
}

/** The nth of all pixels that premultiplied colours can be, or one of those. */
std::uint32_t Pixel(SkBitmap::Config config, std::uint32_t n) {
    if (config == SkBitmap::kARGB_4444_Config) {
        std::uint32_t const a = n & 15;
        return (n >> 12 & 15) <= a && (n >> 8 & 15) <= a && (n >> 4 & 15) <= a ? n : 0;
    }
    // Alpha and a colour that it allows; the other colours are made of both.
    std::uint32_t const a = n >> 8 & 255, c = std::min(n & 255, a);
    return config == SkBitmap::kARGB_8888_Config ? a << 24 | (a - c) << 16 | (c / 2) << 8 | c : n;
}

TEST_F(JavaBitmap, RectanglesOfEveryPixelThereIsGoThroughUnchangedInOneLock) {
    constexpr int Left = 5, Top = 1, Columns = 590, Rows = 113, Stride = 700; // more than goes at a time
    for (auto const config : {SkBitmap::kRGB_565_Config, SkBitmap::kARGB_4444_Config,
                              SkBitmap::kARGB_8888_Config, SkBitmap::kA8_Config}) {
        SCOPED_TRACE(config);
        int const nBytes = SkBitmap::ComputeBytesPerPixel(config), nRow = 600 * nBytes + 8;
        ArrayPixels* const pPixels = MakeBitmap(config, 600, 116, nRow);
        std::fill(pPixels->m_bytes.begin(), pPixels->m_bytes.end(), 0xFF);
        std::vector<unsigned char> const white = pPixels->m_bytes;
        for (int n = 0; n < Columns * Rows; ++n) {
            std::uint32_t const pixel = Pixel(config, std::uint32_t(n));
            int const nPlace = (Top + n / Columns) * nRow + (Left + n % Columns) * nBytes;
            std::memcpy(&pPixels->m_bytes[std::size_t(nPlace)], &pixel, std::size_t(nBytes));
        }
        std::vector<unsigned char> const written = pPixels->m_bytes;
        std::vector<jint> colors(std::size_t(10 + Rows * Stride));
        m_java.Call<void>("nativeGetPixels", Array(colors), 10, Stride, Left, Top, Columns, Rows);
        m_java.Call<void>("nativeEraseColor", -1);
        EXPECT_TRUE(pPixels->m_bytes == white);
        m_java.Call<void>("nativeSetPixels", Array(colors), 10, Stride, Left, Top, Columns, Rows);
        EXPECT_TRUE(pPixels->m_bytes == written);
        EXPECT_TRUE(pPixels->m_nLocks == 3 && pPixels->m_nUnlocks == 3);
    }
}

TEST_F(JavaBitmap, PixelsThatCannotBeHadAreAnException) {
    ArrayPixels* const pPixels = MakeBitmap(SkBitmap::kARGB_8888_Config, 2, 2, 8);
    pPixels->m_fFail = true;
    EXPECT_EQ(m_java.Call<jint>("nativeGetPixel", 0, 0), 0);
    EXPECT_EQ(pPixels->m_nUnlocks, 1);
    MakeBitmap(SkBitmap::kNo_Config, 2, 2, 8);
    m_java.Call<void>("nativeEraseColor", 0);
    EXPECT_EQ(m_java.m_thrown, (Strings{"The bitmap's pixels cannot be had now",
                                        "The bitmap's pixels are of a kind that cannot be read or written"}));
    EXPECT_EQ(m_java.Call<jint>("nativeConfig"), -1);
    EXPECT_EQ(m_java.Call<jint>("nativeWidth"), 2);
}

TEST_F(JavaBitmap, IsFreedWhenJavaCannotMakeIt) {
    m_java.m_fMakes = false;
    m_java.m_nDeleted = 0;
    for (bool const fClass : {false, true}) {
        m_java.m_fFindsClasses = fClass;
        ArrayPixels::s_nDeleted = 0;
        auto* const pBitmap = new SkBitmap;
        pBitmap->setPixelRef(new ArrayPixels(4))->unref();
        EXPECT_EQ(GraphicsJNI::createBitmap(Env(), pBitmap, true, nullptr, -1), nullptr);
        EXPECT_EQ(ArrayPixels::s_nDeleted, 1);
        EXPECT_EQ(std::exchange(m_java.m_nDeleted, 0), fClass ? 1 : 0);
    }
    EXPECT_EQ(GraphicsJNI::createBitmap(nullptr, new SkBitmap, true, nullptr, -1), nullptr);
}

TEST_F(JavaBitmap, IsHeldByOneGlobalReferenceOfEachObject) {
    Ref<TextureGL2> const pTexture = MakeTexture();
    std::vector<int> globals;
    auto const count = [&] { globals.push_back(m_java.m_nGlobals); };
    {
        auto bitmap = pTexture->CreateJavaBitmapFromTexture(0);
        count();
        auto const copy(bitmap);
        count();
        auto moved(std::move(bitmap));
        count();
        moved = copy;
        count();
        auto const& self = moved;
        moved = self;
        count();
        decltype(bitmap) const none(nullptr);
        EXPECT_TRUE(none.IsEmpty() && bitmap.IsEmpty() && !moved.IsEmpty());
    }
    count();
    EXPECT_EQ(globals, (std::vector<int>{1, 2, 2, 2, 2, 0}));
    m_java.Free();
    m_java.m_fInstances = false;
    EXPECT_TRUE(pTexture->CreateJavaBitmapFromTexture(0).IsEmpty()) << "of another class";
    EXPECT_EQ(m_java.m_nGlobals, 0);
}

TEST_F(JavaBitmap, OverASurfaceHasItsFormatItsRowsAndItsPixels) {
    SkBitmap::Config const configs[] = {SkBitmap::kRGB_565_Config,   SkBitmap::kNo_Config,
                                        SkBitmap::kARGB_4444_Config, SkBitmap::kARGB_4444_Config,
                                        SkBitmap::kNo_Config,        SkBitmap::kNo_Config,
                                        SkBitmap::kARGB_8888_Config, SkBitmap::kARGB_8888_Config};
    for (int format = 0; format < 8; ++format) {
        SCOPED_TRACE(format);
        Ref<TextureGL2> const pTexture = MakeTexture(format);
        EXPECT_FALSE(pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
        EXPECT_TRUE(pTexture->Count() == 1 && m_java.m_fMutable && m_java.m_nDensity == -1);
        SurfaceInfo info = {};
        ASSERT_TRUE(pTexture->GetSurfaceInfo(&info));
        SkBitmap const& bitmap = m_java.Bitmap();
        EXPECT_EQ((std::vector<int>{bitmap.config(), bitmap.width(), bitmap.height(), bitmap.rowBytes()}),
                  (std::vector<int>{configs[format], 5, 3, info.m_nStride}));
        bitmap.lockPixels();
        void* const pPixels = bitmap.getPixels();
        bitmap.unlockPixels();
        EXPECT_EQ(pTexture->Lock(), pPixels);
        EXPECT_TRUE(m_diagnostics.Failures().empty());
        bitmap.lockPixels(); // while a producer has it
        EXPECT_EQ(m_diagnostics.Failures(), Strings{"src/Android/EGLImageImpl:246: !IsLocked()"});
        bitmap.unlockPixels();
        m_diagnostics.Forget();
        m_java.Free();
    }
}

TEST_F(JavaBitmap, OfEachSurfaceOfTwoKeepsItAliveAfterTheTexture) {
    Ref<TextureGL2> pTexture = MakeTexture();
    ASSERT_TRUE(pTexture->Promote(true));
    void* const pFirst = pTexture->Lock();
    pTexture->Unlock();
    EXPECT_FALSE(pTexture->CreateJavaBitmapFromTexture(1).IsEmpty());
    Forget();
    pTexture.Reset();
    EXPECT_EQ(Count("eglDestroyImageKHR"), 1u);
    {
        SkAutoLockPixels const locked(m_java.Bitmap());
        EXPECT_NE(m_java.Bitmap().getPixels(), nullptr);
        EXPECT_NE(m_java.Bitmap().getPixels(), pFirst);
    }
    m_java.Free();
    EXPECT_EQ(Count("eglDestroyImageKHR"), 2u);
}

TEST_F(JavaBitmap, OfADestroyedSurfaceHasNoPixelsAndNoFault) {
    Ref<EGLImageHelper> const pSurface = CreateEGLImageHelper();
    ASSERT_TRUE(pSurface->Create(Width, Height, TextureFormat::RGBA8888));
    EXPECT_FALSE(pSurface->CreateJavaBitmapFromTexture().IsEmpty());
    pSurface->Destroy();
    {
        SkAutoLockPixels const locked(m_java.Bitmap());
        EXPECT_EQ(m_java.Bitmap().getPixels(), nullptr);
    }
    EXPECT_TRUE(m_diagnostics.Failures().empty());
}

TEST_F(JavaBitmap, IsEmptyWhereThereIsNoSurface) {
    Fail("eglCreateImageKHR");
    EXPECT_TRUE(MakeTexture()->CreateJavaBitmapFromTexture(0).IsEmpty());
    EXPECT_EQ(m_java.m_bitmap, 0);
}

} // namespace
