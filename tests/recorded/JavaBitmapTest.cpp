// Java's bitmaps: the pixels behind them, and those over a texture's surface.

#include "SurfaceTest.h"

#include "JObject.h"
#include "trevik/jni/VM.h"

#include <GraphicsJNI.h>
#include <SkBitmap.h>
#include <SkPixelRef.h>

#include <cstring>
#include <thread>
#include <type_traits>

extern "C" {
jint Java_android_graphics_Bitmap_nativeWidth(JNIEnv*, jclass, jlong);
jint Java_android_graphics_Bitmap_nativeConfig(JNIEnv*, jclass, jlong);
void Java_android_graphics_Bitmap_nativeFree(JNIEnv*, jclass, jlong);
jint Java_android_graphics_Bitmap_nativeGetPixel(JNIEnv*, jclass, jlong, jint, jint);
void Java_android_graphics_Bitmap_nativeSetPixel(JNIEnv*, jclass, jlong, jint, jint, jint);
void Java_android_graphics_Bitmap_nativeGetPixels(JNIEnv*, jclass, jlong, jintArray, jint, jint, jint, jint,
                                                  jint, jint);
void Java_android_graphics_Bitmap_nativeSetPixels(JNIEnv*, jclass, jlong, jintArray, jint, jint, jint, jint,
                                                  jint, jint);
void Java_android_graphics_Bitmap_nativeEraseColor(JNIEnv*, jclass, jlong, jint);
}

namespace {

using namespace recording;
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

/** A stand-in for a Java virtual machine, as far as bitmaps go: objects are addresses of anything. */
class FakeJava {
public:
    FakeJava() {
        s_pJava = this;
        m_invoke.GetEnv = [](JavaVM*, void** ppEnv, jint) {
            *ppEnv = &s_pJava->m_env;
            return jint(JNI_OK);
        };
        m_vm.functions = &m_invoke;
        m_functions.FindClass = [](JNIEnv*, char const*) -> jclass {
            return static_cast<jclass>(s_pJava->m_fClass ? &s_pJava->m_class : nullptr);
        };
        m_functions.NewGlobalRef = [](JNIEnv*, jobject object) {
            ++s_pJava->m_nGlobals;
            return object;
        };
        m_functions.DeleteGlobalRef = [](JNIEnv*, jobject) { --s_pJava->m_nGlobals; };
        m_functions.DeleteLocalRef = [](JNIEnv*, jobject) {};
        m_functions.IsInstanceOf = [](JNIEnv*, jobject, jclass) { return jboolean(JNI_TRUE); };
        m_functions.ExceptionCheck = [](JNIEnv*) { return jboolean(JNI_FALSE); };
        m_functions.GetMethodID = [](JNIEnv*, jclass, char const*, char const* pSignature) {
            return std::string(pSignature) == "(JZ[BI)V" ? reinterpret_cast<jmethodID>(&s_pJava->m_class)
                                                         : nullptr;
        };
        m_functions.RegisterNatives = [](JNIEnv*, jclass, JNINativeMethod const*, jint nCount) {
            s_pJava->m_nNatives = nCount;
            return jint(JNI_OK);
        };
        m_functions.NewObjectA = [](JNIEnv*, jclass, jmethodID, jvalue const* pArguments) -> jobject {
            if (!s_pJava->m_fMakes)
                return nullptr;
            s_pJava->m_bitmap = pArguments[0].j;
            s_pJava->m_fMutable = pArguments[1].z;
            s_pJava->m_nDensity = pArguments[3].i;
            return &s_pJava->m_object;
        };
        m_functions.ThrowNew = [](JNIEnv*, jclass, char const* pMessage) {
            s_pJava->m_thrown.push_back(pMessage);
            return jint(0);
        };
        // An array is the address of a vector.
        m_functions.GetIntArrayRegion = [](JNIEnv*, jintArray array, jsize nStart, jsize nCount,
                                           jint* pTarget) {
            for (jsize i = 0; i < nCount; ++i)
                pTarget[i] = Array(array).at(std::size_t(nStart + i));
        };
        m_functions.SetIntArrayRegion = [](JNIEnv*, jintArray array, jsize nStart, jsize nCount,
                                           jint const* pSource) {
            for (jsize i = 0; i < nCount; ++i)
                Array(array).at(std::size_t(nStart + i)) = pSource[i];
        };
        m_env.functions = &m_functions;
        jni::VM::SetJavaVM(&m_vm);
        jni::VM::RegisterClass(&jni::android::graphics::Bitmap::GetClass());
        m_nGlobals = 0;
    }
    ~FakeJava() {
        Free();
        jni::VM::SetJavaVM(nullptr);
        s_pJava = nullptr;
    }

    /** What Java does when it collects the bitmap. */
    void Free() {
        if (m_bitmap != 0)
            Java_android_graphics_Bitmap_nativeFree(&m_env, nullptr, m_bitmap);
        m_bitmap = 0;
    }
    SkBitmap const& Bitmap() const { return *reinterpret_cast<SkBitmap const*>(m_bitmap); }
    JNIEnv* Env() { return &m_env; }

    bool m_fClass = true;
    bool m_fMakes = true;
    bool m_fMutable = false;
    int m_nDensity = 0;
    int m_nNatives = 0;
    int m_nGlobals = 0;
    jlong m_bitmap = 0;
    Strings m_thrown;

private:
    static std::vector<jint>& Array(jintArray array) {
        return *reinterpret_cast<std::vector<jint>*>(static_cast<jobject>(array));
    }

    static FakeJava* s_pJava;

    _jclass m_class;
    _jobject m_object;
    // Their names are not the same in every jni.h.
    std::remove_const_t<std::remove_pointer_t<decltype(JavaVM::functions)>> m_invoke = {};
    std::remove_const_t<std::remove_pointer_t<decltype(JNIEnv::functions)>> m_functions = {};
    JavaVM m_vm = {};
    JNIEnv m_env = {};
};

FakeJava* FakeJava::s_pJava = nullptr;

TEST(Bitmap, LocksOfPixelsAreCountedAndThePixelsGoWithTheirLastOwner) {
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
        EXPECT_EQ(pPixels->m_nLocks, 1);
        EXPECT_EQ(pPixels->m_nUnlocks, 0);
        EXPECT_TRUE(pPixels->isLocked());
        first.unlockPixels();
        EXPECT_EQ(pPixels->m_nUnlocks, 1);
        EXPECT_EQ(first.getPixels(), nullptr);
        first.unlockPixels(); // one too many
        EXPECT_EQ(pPixels->m_nUnlocks, 1);
    }
    EXPECT_EQ(ArrayPixels::s_nDeleted, 0);
    first.setConfig(SkBitmap::kA8_Config, 1, 1);
    EXPECT_EQ(first.pixelRef(), nullptr);
    EXPECT_EQ(ArrayPixels::s_nDeleted, 1);
}

TEST(Bitmap, ThreadsShareOneLockOfThePixels) {
    auto* const pPixels = new ArrayPixels(4);
    SkBitmap bitmap;
    bitmap.setPixelRef(pPixels);
    pPixels->unref();
    int nWithout = 0;
    auto const lock = [&](int& nNull) {
        for (int i = 0; i < 1000; ++i) {
            SkAutoLockPixels const locked(bitmap);
            nNull += bitmap.getPixels() == nullptr;
        }
    };
    int nElsewhere = 0;
    std::thread other([&] { lock(nElsewhere); });
    lock(nWithout);
    other.join();
    EXPECT_EQ(nWithout + nElsewhere, 0);
    EXPECT_EQ(pPixels->m_nLocks, pPixels->m_nUnlocks);
    EXPECT_FALSE(pPixels->isLocked());
}

TEST(Bitmap, ConfigurationsThatCannotBeMakeItEmpty) {
    struct Case {
        SkBitmap::Config config;
        int width, height, rowBytes;
        int expected; ///< bytes from row to row; -1: it is empty
    } const cases[] = {
        {SkBitmap::kARGB_8888_Config, 5, 3, 0, 20},
        {SkBitmap::kARGB_8888_Config, 5, 3, 64, 64},
        {SkBitmap::kRGB_565_Config, 5, 3, 0, 10},
        {SkBitmap::kARGB_4444_Config, 5, 3, 10, 10},
        {SkBitmap::kA8_Config, 5, 3, 0, 5},
        {SkBitmap::kA1_Config, 9, 3, 0, 2},
        {SkBitmap::kNo_Config, 5, 3, 48, 48},
        {SkBitmap::kARGB_8888_Config, 5, 3, 19, -1},
        {SkBitmap::kARGB_8888_Config, -1, 3, 0, -1},
        {SkBitmap::kARGB_8888_Config, 5, -3, 0, -1},
        {SkBitmap::kARGB_8888_Config, 0x20000000, 1, 0, -1},
    };
    for (Case const& test : cases) {
        SkBitmap bitmap;
        bitmap.setConfig(test.config, test.width, test.height, test.rowBytes);
        SCOPED_TRACE(std::to_string(test.config) + ", " + std::to_string(test.width));
        EXPECT_EQ(bitmap.config(), test.expected < 0 ? SkBitmap::kNo_Config : test.config);
        EXPECT_EQ(bitmap.width(), test.expected < 0 ? 0 : test.width);
        EXPECT_EQ(bitmap.rowBytes(), test.expected < 0 ? 0 : test.expected);
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
        EXPECT_NE(GraphicsJNI::createBitmap(m_java.Env(), pBitmap, true, nullptr, 240), nullptr);
        return pPixels;
    }
    static jintArray Array(std::vector<jint>& array) { return reinterpret_cast<jintArray>(&array); }

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
        Java_android_graphics_Bitmap_nativeSetPixel(m_java.Env(), nullptr, m_java.m_bitmap, 1, 1,
                                                    jint(test.written));
        std::size_t const nOffset = 12 + test.bytes.size();
        EXPECT_EQ(std::vector<unsigned char>(pPixels->m_bytes.begin() + std::ptrdiff_t(nOffset),
                                             pPixels->m_bytes.begin() +
                                                 std::ptrdiff_t(nOffset + test.bytes.size())),
                  test.bytes);
        EXPECT_EQ(std::uint32_t(Java_android_graphics_Bitmap_nativeGetPixel(m_java.Env(), nullptr,
                                                                            m_java.m_bitmap, 1, 1)),
                  test.read);
        EXPECT_EQ(pPixels->m_nLocks, 2);
        EXPECT_EQ(pPixels->m_nUnlocks, 2);
    }
    EXPECT_EQ(m_java.m_nNatives, 9);
    EXPECT_EQ(m_java.m_nDensity, 240);
}

TEST_F(JavaBitmap, RectanglesGoThroughInOneLock) {
    constexpr int nWidth = 600; // more than goes at a time
    ArrayPixels* const pPixels = MakeBitmap(SkBitmap::kARGB_8888_Config, nWidth, 4, nWidth * 4 + 8);
    Java_android_graphics_Bitmap_nativeEraseColor(m_java.Env(), nullptr, m_java.m_bitmap, jint(0xFF000001));
    std::vector<jint> colors(3 * 700, -1);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 590; ++x)
            colors[std::size_t(10 + y * 700 + x)] = jint(0xFF000000u + unsigned(y * 1000 + x));
    }
    Java_android_graphics_Bitmap_nativeSetPixels(m_java.Env(), nullptr, m_java.m_bitmap, Array(colors), 10,
                                                 700, 5, 1, 590, 2);
    EXPECT_EQ(pPixels->m_nLocks, 2);
    std::vector<jint> read(4 * nWidth, -1);
    Java_android_graphics_Bitmap_nativeGetPixels(m_java.Env(), nullptr, m_java.m_bitmap, Array(read), 0,
                                                 nWidth, 0, 0, nWidth, 4);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < nWidth; ++x) {
            bool const fInside = y >= 1 && y < 3 && x >= 5 && x < 595;
            unsigned const nExpected = fInside ? 0xFF000000u + unsigned((y - 1) * 1000 + x - 5) : 0xFF000001u;
            ASSERT_EQ(unsigned(read[std::size_t(y * nWidth + x)]), nExpected) << x << ", " << y;
        }
    }
}

TEST_F(JavaBitmap, PixelsThatCannotBeHadAreAnException) {
    ArrayPixels* const pPixels = MakeBitmap(SkBitmap::kARGB_8888_Config, 2, 2, 8);
    pPixels->m_fFail = true;
    EXPECT_EQ(Java_android_graphics_Bitmap_nativeGetPixel(m_java.Env(), nullptr, m_java.m_bitmap, 0, 0), 0);
    EXPECT_EQ(m_java.m_thrown, Strings{"The bitmap's pixels cannot be had now"});
    EXPECT_EQ(pPixels->m_nUnlocks, 1);
    MakeBitmap(SkBitmap::kNo_Config, 2, 2, 8);
    Java_android_graphics_Bitmap_nativeEraseColor(m_java.Env(), nullptr, m_java.m_bitmap, 0);
    EXPECT_EQ(m_java.m_thrown.size(), 2u);
    EXPECT_EQ(Java_android_graphics_Bitmap_nativeConfig(m_java.Env(), nullptr, m_java.m_bitmap), -1);
    EXPECT_EQ(Java_android_graphics_Bitmap_nativeWidth(m_java.Env(), nullptr, m_java.m_bitmap), 2);
}

TEST_F(JavaBitmap, IsFreedWhenJavaCannotMakeIt) {
    for (bool const fClass : {false, true}) {
        m_java.m_fClass = fClass;
        m_java.m_fMakes = false;
        ArrayPixels::s_nDeleted = 0;
        auto* const pBitmap = new SkBitmap;
        auto* const pPixels = new ArrayPixels(4);
        pBitmap->setPixelRef(pPixels);
        pPixels->unref();
        EXPECT_EQ(GraphicsJNI::createBitmap(m_java.Env(), pBitmap, true, nullptr, -1), nullptr);
        EXPECT_EQ(ArrayPixels::s_nDeleted, 1);
    }
    EXPECT_EQ(GraphicsJNI::createBitmap(nullptr, new SkBitmap, true, nullptr, -1), nullptr);
}

TEST_F(JavaBitmap, OverASurfaceHasItsFormatItsRowsAndItsPixels) {
    struct Case {
        int format;
        SkBitmap::Config config;
    } const cases[] = {{0, SkBitmap::kRGB_565_Config},   {1, SkBitmap::kNo_Config},
                       {2, SkBitmap::kARGB_4444_Config}, {3, SkBitmap::kARGB_4444_Config},
                       {4, SkBitmap::kNo_Config},        {5, SkBitmap::kNo_Config},
                       {6, SkBitmap::kARGB_8888_Config}, {7, SkBitmap::kARGB_8888_Config}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.format);
        Ref<TextureGL2> const pTexture = MakeTexture(test.format);
        {
            auto const bitmap = pTexture->CreateJavaBitmapFromTexture(0);
            EXPECT_FALSE(bitmap.IsEmpty());
            EXPECT_EQ(m_java.m_nGlobals, 1);
        }
        EXPECT_EQ(m_java.m_nGlobals, 0);
        EXPECT_EQ(pTexture->Count(), 1);
        EXPECT_TRUE(m_java.m_fMutable);
        EXPECT_EQ(m_java.m_nDensity, -1);
        SurfaceInfo info = {};
        ASSERT_TRUE(pTexture->GetSurfaceInfo(&info));
        SkBitmap const& bitmap = m_java.Bitmap();
        EXPECT_EQ(bitmap.config(), test.config);
        EXPECT_EQ(bitmap.width(), 5);
        EXPECT_EQ(bitmap.height(), 3);
        EXPECT_EQ(bitmap.rowBytes(), info.m_nStride);
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

TEST_F(JavaBitmap, IsEmptyWhereThereCanBeNone) {
    m_java.m_fMakes = false;
    Ref<TextureGL2> pTexture = MakeTexture();
    EXPECT_TRUE(pTexture->CreateJavaBitmapFromTexture(0).IsEmpty());
    Forget();
    pTexture.Reset();
    EXPECT_EQ(Count("eglDestroyImageKHR"), 1u); // nothing keeps the surface
    m_java.m_fMakes = true;
    Fail("eglCreateImageKHR");
    EXPECT_TRUE(MakeTexture()->CreateJavaBitmapFromTexture(0).IsEmpty());
    EXPECT_EQ(m_java.m_bitmap, 0);
}

} // namespace
