#include "TestImages.h"

#include "PngReader.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>
#include <png.h>

namespace {
thread_local std::size_t t_nLargestAllocation = 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    t_nLargestAllocation = std::max(t_nLargestAllocation, size);
    return std::malloc(size ? size : 1);
}
void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace trevik::kelvo::assets::testing {

std::size_t LargestAllocation() {
    return t_nLargestAllocation;
}
void ResetLargestAllocation() {
    t_nLargestAllocation = 0;
}

namespace {

int Channels(int colorType) {
    switch (colorType) {
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        return 2;
    case PNG_COLOR_TYPE_RGB:
        return 3;
    case PNG_COLOR_TYPE_RGB_ALPHA:
        return 4;
    default:
        return 1;
    }
}

Bytes PackRow(const PngSource& source, int y) {
    const int samples = source.width * Channels(source.colorType);
    Bytes row(std::size_t(samples * source.bitDepth + 7) / 8, 0);
    for (int i = 0; i < samples; ++i) {
        const unsigned sample = source.samples[std::size_t(y * samples + i)];
        if (source.bitDepth == 16) {
            row[std::size_t(i) * 2] = std::uint8_t(sample >> 8);
            row[std::size_t(i) * 2 + 1] = std::uint8_t(sample & 0xFF);
        } else {
            const int bit = i * source.bitDepth;
            row[std::size_t(bit / 8)] |= std::uint8_t(sample << (8 - source.bitDepth - bit % 8));
        }
    }
    return row;
}

void AppendBytes(png_structp png, png_bytep data, size_t count) {
    auto* out = static_cast<Bytes*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + count);
}

void SetPalette(png_structp png, png_infop info, const PngSource& source) {
    std::vector<png_color> colors;
    for (std::size_t i = 0; i + 2 < source.palette.size(); i += 3)
        colors.push_back({source.palette[i], source.palette[i + 1], source.palette[i + 2]});
    png_set_PLTE(png, info, colors.data(), int(colors.size()));
    if (source.transparency)
        png_set_tRNS(png, info, source.paletteAlpha.data(), int(source.paletteAlpha.size()), nullptr);
}

void SetTransparentColor(png_structp png, png_infop info, const PngSource& source) {
    png_color_16 color = {};
    color.gray = color.red = source.samples[0];
    if (Channels(source.colorType) == 3) {
        color.green = source.samples[1];
        color.blue = source.samples[2];
    }
    png_set_tRNS(png, info, nullptr, 0, &color);
}

} // namespace

PngSource NoisePng(int colorType, int bitDepth, bool interlaced, bool transparency) {
    PngSource source;
    source.colorType = colorType;
    source.bitDepth = bitDepth;
    source.interlaced = interlaced;
    source.transparency = transparency;
    std::uint32_t state = 12345;
    const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 16; };
    const int count = source.width * source.height * Channels(colorType);
    for (int i = 0; i < count; ++i)
        source.samples.push_back(std::uint16_t(next() & ((1u << bitDepth) - 1)));
    if (colorType == PNG_COLOR_TYPE_PALETTE) {
        const std::size_t entries = std::size_t(1) << bitDepth;
        for (std::size_t i = 0; i < entries * 3; ++i)
            source.palette.push_back(std::uint8_t(next()));
        for (std::size_t i = 0; transparency && i < entries / 2; ++i)
            source.paletteAlpha.push_back(std::uint8_t(next()));
    }
    return source;
}

Bytes EncodePngSource(const PngSource& source) {
    Bytes out;
    // Without handlers of its own the writer ends the program on an error, which is what a test wants.
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_check_for_invalid_index(png, 0); // a test may want just that
    png_set_write_fn(png, &out, AppendBytes, [](png_structp) {});
    png_set_IHDR(png, info, png_uint_32(source.width), png_uint_32(source.height), source.bitDepth,
                 source.colorType, source.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (source.colorType == PNG_COLOR_TYPE_PALETTE)
        SetPalette(png, info, source);
    else if (source.transparency)
        SetTransparentColor(png, info, source);
    png_write_info(png, info);
    std::vector<Bytes> rows;
    for (int y = 0; y < source.height; ++y)
        rows.push_back(PackRow(source, y));
    std::vector<png_bytep> pointers;
    for (Bytes& row : rows)
        pointers.push_back(row.data());
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return out;
}

Bytes ExpectedRgba(const PngSource& source) {
    const int channels = Channels(source.colorType);
    const unsigned max = (1u << source.bitDepth) - 1;
    const auto eight = [max](unsigned sample) { return std::uint8_t((sample * 255u + max / 2) / max); };
    Bytes out;
    for (std::size_t i = 0; i < source.samples.size(); i += std::size_t(channels)) {
        const std::uint16_t* s = source.samples.data() + i;
        if (source.colorType == PNG_COLOR_TYPE_PALETTE) {
            const std::uint8_t* color = source.palette.data() + s[0] * 3;
            const bool alpha = s[0] < source.paletteAlpha.size();
            const std::uint8_t a = alpha ? source.paletteAlpha[s[0]] : std::uint8_t(255);
            out.insert(out.end(), {color[0], color[1], color[2], a});
            continue;
        }
        const bool key = source.transparency && std::equal(s, s + channels, source.samples.data());
        const std::uint8_t opaque = key ? 0 : 255;
        if (channels <= 2)
            out.insert(out.end(),
                       {eight(s[0]), eight(s[0]), eight(s[0]), channels == 2 ? eight(s[1]) : opaque});
        else
            out.insert(out.end(),
                       {eight(s[0]), eight(s[1]), eight(s[2]), channels == 4 ? eight(s[3]) : opaque});
    }
    return out;
}

static Bytes PlainPng(int colorType, int width, int height, const Bytes& pixels) {
    PngSource source;
    source.colorType = colorType;
    source.width = width;
    source.height = height;
    source.samples.assign(pixels.begin(), pixels.end());
    return EncodePngSource(source);
}

Bytes RgbaPng(int width, int height, const Bytes& pixels) {
    return PlainPng(PNG_COLOR_TYPE_RGB_ALPHA, width, height, pixels);
}

Bytes RgbPng(int width, int height, const Bytes& pixels) {
    return PlainPng(PNG_COLOR_TYPE_RGB, width, height, pixels);
}

ImageData RgbaImage(int width, int height, const Bytes& pixels) {
    ImageData image;
    image.width = image.allocatedWidth = width;
    image.height = image.allocatedHeight = height;
    image.pixels = pixels;
    image.levels.push_back({width, height, 0, width * height * 4});
    return image;
}

Bytes GradientRgba(int width, int height) {
    Bytes out;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            out.push_back(std::uint8_t(40 + x * 160 / width));
            out.push_back(std::uint8_t(30 + y * 180 / height));
            out.push_back(std::uint8_t(200 - (x + y) * 150 / (width + height)));
            out.push_back(std::uint8_t(250 - x * 200 / width));
        }
    }
    return out;
}

ImageData Untouched() {
    return RgbaImage(1, 1, {11, 22, 33, 44});
}

bool IsUntouched(const ImageData& image) {
    return image.pixels == Untouched().pixels && image.levels == Untouched().levels && image.width == 1 &&
           image.height == 1 && image.allocatedWidth == 1 && image.allocatedHeight == 1;
}

ImageData LoadGood(const Bytes& file, const ImageOptions& options) {
    ImageData image;
    std::string error;
    EXPECT_TRUE(LoadPng(Span(file), "x.png", options, image, error)) << error;
    return image;
}

std::string ErrorOfPng(const Bytes& file, const ImageOptions& options) {
    ImageData image = Untouched();
    std::string error;
    EXPECT_FALSE(LoadPng(Span(file), "x.png", options, image, error));
    EXPECT_TRUE(IsUntouched(image));
    return error;
}

} // namespace trevik::kelvo::assets::testing
