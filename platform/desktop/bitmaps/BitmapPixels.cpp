#include "bitmaps/BitmapPixels.h"

#include <cstring>

namespace kelvokit::desktop {

namespace {

/** 8 bits a channel. */
struct Channels {
    std::uint32_t a;
    std::uint32_t r;
    std::uint32_t g;
    std::uint32_t b;
};

Channels Split(std::uint32_t color) {
    return {color >> 24, color >> 16 & 0xFF, color >> 8 & 0xFF, color & 0xFF};
}

std::uint32_t Join(Channels const& c) {
    return c.a << 24 | c.r << 16 | c.g << 8 | c.b;
}

std::uint32_t DivideBy255(std::uint32_t value) {
    return (value + 127) / 255;
}

Channels Premultiply(Channels const& c) {
    return {c.a, DivideBy255(c.r * c.a), DivideBy255(c.g * c.a), DivideBy255(c.b * c.a)};
}

/** Pixels that came from elsewhere may have more colour than alpha. */
std::uint32_t Divide(std::uint32_t value, std::uint32_t a) {
    std::uint32_t const result = (value * 255 + a / 2) / a;
    return result < 255 ? result : 255;
}

Channels Unpremultiply(Channels const& c) {
    if (c.a == 0) {
        return {0, 0, 0, 0};
    }
    return {c.a, Divide(c.r, c.a), Divide(c.g, c.a), Divide(c.b, c.a)};
}

/** The top `nBits` of 8 bits, 4 or more, repeated to fill all of them. */
std::uint32_t Widen(std::uint32_t value, int nBits) {
    std::uint32_t const top = value << (8 - nBits);
    return top | top >> nBits;
}

struct Alpha8 {
    using Pixel = std::uint8_t;
    static Channels Load(Pixel pixel) { return {pixel, 0, 0, 0}; }
    static Pixel Store(Channels const& c) { return static_cast<Pixel>(c.a); }
};

struct Rgb565 {
    using Pixel = std::uint16_t;
    static Channels Load(Pixel pixel) {
        std::uint32_t const n = pixel;
        return {255, Widen(n >> 11, 5), Widen(n >> 5 & 63, 6), Widen(n & 31, 5)};
    }
    static Pixel Store(Channels const& c) {
        return static_cast<Pixel>(c.r >> 3 << 11 | c.g >> 2 << 5 | c.b >> 3);
    }
};

struct Argb4444 {
    using Pixel = std::uint16_t;
    static Channels Load(Pixel pixel) {
        std::uint32_t const n = pixel;
        return {Widen(n & 15, 4), Widen(n >> 12, 4), Widen(n >> 8 & 15, 4), Widen(n >> 4 & 15, 4)};
    }
    static Pixel Store(Channels const& c) {
        return static_cast<Pixel>(c.r >> 4 << 12 | c.g >> 4 << 8 | c.b >> 4 << 4 | c.a >> 4);
    }
};

struct Argb8888 {
    struct Pixel {
        std::uint8_t r, g, b, a;
    };
    static Channels Load(Pixel pixel) { return {pixel.a, pixel.r, pixel.g, pixel.b}; }
    static Pixel Store(Channels const& c) {
        return {static_cast<std::uint8_t>(c.r), static_cast<std::uint8_t>(c.g),
                static_cast<std::uint8_t>(c.b), static_cast<std::uint8_t>(c.a)};
    }
};

template <class Format>
void Read(std::uint32_t* colors, void const* pixels, int nCount) {
    using Pixel = typename Format::Pixel;
    auto const* source = static_cast<unsigned char const*>(pixels);
    for (int n = 0; n < nCount; ++n, source += sizeof(Pixel)) {
        Pixel pixel;
        std::memcpy(&pixel, source, sizeof(Pixel));
        colors[n] = Join(Unpremultiply(Format::Load(pixel)));
    }
}

template <class Format>
void Write(void* pixels, std::uint32_t const* colors, int nCount) {
    using Pixel = typename Format::Pixel;
    auto* target = static_cast<unsigned char*>(pixels);
    for (int n = 0; n < nCount; ++n, target += sizeof(Pixel)) {
        Pixel const pixel = Format::Store(Premultiply(Split(colors[n])));
        std::memcpy(target, &pixel, sizeof(Pixel));
    }
}

template <class Format>
constexpr PixelAccess Access = {&Read<Format>, &Write<Format>};

} // namespace

PixelAccess const* GetPixelAccess(SkBitmap::Config config) {
    switch (config) {
    case SkBitmap::kA8_Config:
        return &Access<Alpha8>;
    case SkBitmap::kRGB_565_Config:
        return &Access<Rgb565>;
    case SkBitmap::kARGB_4444_Config:
        return &Access<Argb4444>;
    case SkBitmap::kARGB_8888_Config:
        return &Access<Argb8888>;
    default:
        return nullptr;
    }
}

} // namespace kelvokit::desktop
