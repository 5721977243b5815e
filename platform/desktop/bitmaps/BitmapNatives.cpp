// The native methods of the Java class android.graphics.Bitmap. Java has checked what it was given: bitmaps
// are alive, and rectangles inside of them and of the arrays.

#include "bitmaps/BitmapNatives.h"

#include "SkBitmap.h"
#include "bitmaps/BitmapPixels.h"
#include "kelvo_desktop/Export.h"

#include <algorithm>
#include <iterator>

namespace kelvokit::desktop {

namespace {

/** At a time between a Java array and a bitmap. */
constexpr int ChunkSize = 256;

static_assert(sizeof(jlong) >= sizeof(void*), "Java keeps an address in a long");

SkBitmap& BitmapOf(jlong bitmap) {
    return *reinterpret_cast<SkBitmap*>(static_cast<std::intptr_t>(bitmap));
}

void ThrowIllegalState(JNIEnv* env, char const* message) {
    if (jclass const exception = env->FindClass("java/lang/IllegalStateException")) {
        env->ThrowNew(exception, message);
    }
}

struct Rectangle {
    int x;
    int y;
    int width;
    int height;
};

/**
 * Has the pixels locked, and `visit(access, pixels, x, y, count)` called for runs of at most ChunkSize pixels
 * that make up a rectangle, x and y counted from its first pixel, until it answers false with an exception
 * pending. One is pending, too, when the pixels cannot be had.
 */
template <class Visit>
void VisitPixels(JNIEnv* env, jlong bitmap, Rectangle const& rectangle, Visit&& visit) {
    SkBitmap const& skBitmap = BitmapOf(bitmap);
    PixelAccess const* const pAccess = GetPixelAccess(skBitmap.config());
    if (!pAccess) {
        return ThrowIllegalState(env, "The bitmap's pixels are of a kind that cannot be read or written");
    }
    SkAutoLockPixels const locked(skBitmap);
    auto* const pPixels = static_cast<unsigned char*>(skBitmap.getPixels());
    if (!pPixels) {
        return ThrowIllegalState(env, "The bitmap's pixels cannot be had now");
    }
    std::size_t const nPixel = std::size_t(skBitmap.bytesPerPixel());
    for (int y = 0; y < rectangle.height; ++y) {
        unsigned char* pRun = pPixels + std::size_t(rectangle.y + y) * std::size_t(skBitmap.rowBytes()) +
                              std::size_t(rectangle.x) * nPixel;
        for (int x = 0; x < rectangle.width; x += ChunkSize) {
            int const nCount = std::min(ChunkSize, rectangle.width - x);
            if (!visit(*pAccess, pRun, x, y, nCount)) {
                return;
            }
            pRun += std::size_t(nCount) * nPixel;
        }
    }
}

} // namespace

} // namespace kelvokit::desktop

using namespace kelvokit::desktop;

#define KELVO_NATIVE(Result, name) extern "C" KELVO_DESKTOP_API Result Java_android_graphics_Bitmap_##name

KELVO_NATIVE(jint JNICALL, nativeWidth)(JNIEnv*, jclass, jlong bitmap) {
    return BitmapOf(bitmap).width();
}

KELVO_NATIVE(jint JNICALL, nativeHeight)(JNIEnv*, jclass, jlong bitmap) {
    return BitmapOf(bitmap).height();
}

KELVO_NATIVE(jint JNICALL, nativeConfig)(JNIEnv*, jclass, jlong bitmap) {
    static constexpr SkBitmap::Config s_configs[] = {SkBitmap::kA8_Config, SkBitmap::kRGB_565_Config,
                                                     SkBitmap::kARGB_4444_Config,
                                                     SkBitmap::kARGB_8888_Config};
    auto const found = std::find(std::begin(s_configs), std::end(s_configs), BitmapOf(bitmap).config());
    return found == std::end(s_configs) ? -1 : static_cast<jint>(found - s_configs);
}

KELVO_NATIVE(void JNICALL, nativeFree)(JNIEnv*, jclass, jlong bitmap) {
    delete &BitmapOf(bitmap);
}

KELVO_NATIVE(jint JNICALL, nativeGetPixel)(JNIEnv* env, jclass, jlong bitmap, jint x, jint y) {
    std::uint32_t color = 0;
    VisitPixels(env, bitmap, {x, y, 1, 1}, [&](PixelAccess const& access, void* pixels, int, int, int) {
        access.read(&color, pixels, 1);
        return true;
    });
    return static_cast<jint>(color);
}

KELVO_NATIVE(void JNICALL, nativeSetPixel)(JNIEnv* env, jclass, jlong bitmap, jint x, jint y, jint color) {
    auto const value = static_cast<std::uint32_t>(color);
    VisitPixels(env, bitmap, {x, y, 1, 1}, [&](PixelAccess const& access, void* pixels, int, int, int) {
        access.write(pixels, &value, 1);
        return true;
    });
}

KELVO_NATIVE(void JNICALL, nativeGetPixels)
(JNIEnv* env, jclass, jlong bitmap, jintArray array, jint offset, jint stride, jint x, jint y, jint width,
 jint height) {
    VisitPixels(env, bitmap, {x, y, width, height},
                [&](PixelAccess const& access, void const* pixels, int column, int row, int nCount) {
                    std::uint32_t colors[ChunkSize];
                    access.read(colors, pixels, nCount);
                    env->SetIntArrayRegion(array, offset + row * stride + column, nCount,
                                           reinterpret_cast<jint const*>(colors));
                    return !env->ExceptionCheck();
                });
}

KELVO_NATIVE(void JNICALL, nativeSetPixels)
(JNIEnv* env, jclass, jlong bitmap, jintArray array, jint offset, jint stride, jint x, jint y, jint width,
 jint height) {
    VisitPixels(env, bitmap, {x, y, width, height},
                [&](PixelAccess const& access, void* pixels, int column, int row, int nCount) {
                    std::uint32_t colors[ChunkSize];
                    env->GetIntArrayRegion(array, offset + row * stride + column, nCount,
                                           reinterpret_cast<jint*>(colors));
                    if (env->ExceptionCheck()) {
                        return false;
                    }
                    access.write(pixels, colors, nCount);
                    return true;
                });
}

KELVO_NATIVE(void JNICALL, nativeEraseColor)(JNIEnv* env, jclass, jlong bitmap, jint color) {
    std::uint32_t colors[ChunkSize];
    std::fill(std::begin(colors), std::end(colors), static_cast<std::uint32_t>(color));
    SkBitmap const& skBitmap = BitmapOf(bitmap);
    VisitPixels(env, bitmap, {0, 0, skBitmap.width(), skBitmap.height()},
                [&](PixelAccess const& access, void* pixels, int, int, int nCount) {
                    access.write(pixels, colors, nCount);
                    return true;
                });
}

namespace kelvokit::desktop {

bool RegisterBitmapNatives(JNIEnv* env, jclass bitmapClass) {
    struct Native {
        char const* name;
        char const* signature;
        void* function;
    };
#define KELVO_ENTRY(name, signature)                                                                         \
    Native {                                                                                                 \
        #name, signature, reinterpret_cast<void*>(&Java_android_graphics_Bitmap_##name)                      \
    }
    static Native const s_natives[] = {KELVO_ENTRY(nativeWidth, "(J)I"),
                                       KELVO_ENTRY(nativeHeight, "(J)I"),
                                       KELVO_ENTRY(nativeConfig, "(J)I"),
                                       KELVO_ENTRY(nativeFree, "(J)V"),
                                       KELVO_ENTRY(nativeGetPixel, "(JII)I"),
                                       KELVO_ENTRY(nativeSetPixel, "(JIII)V"),
                                       KELVO_ENTRY(nativeGetPixels, "(J[IIIIIII)V"),
                                       KELVO_ENTRY(nativeSetPixels, "(J[IIIIIII)V"),
                                       KELVO_ENTRY(nativeEraseColor, "(JI)V")};
#undef KELVO_ENTRY
    JNINativeMethod methods[std::size(s_natives)];
    std::transform(std::begin(s_natives), std::end(s_natives), methods, [](Native const& native) {
        return JNINativeMethod{const_cast<char*>(native.name), const_cast<char*>(native.signature),
                               native.function};
    });
    return env->RegisterNatives(bitmapClass, methods, static_cast<jint>(std::size(methods))) == JNI_OK;
}

} // namespace kelvokit::desktop
