#include "TestImages.h"

#include "image/PngReader.h"
#include "image/PngWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>

static thread_local std::size_t t_nLargestAllocation = 0;
static thread_local long t_nAllowed = -1; // any number

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    t_nLargestAllocation = std::max(t_nLargestAllocation, size);
    if (t_nAllowed == 0) {
        return nullptr;
    }
    t_nAllowed -= t_nAllowed > 0;
    return std::malloc(size ? size : 1);
}
void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace trevik::kelvo::assets::testing {

std::size_t& LargestAllocation() {
    return t_nLargestAllocation;
}

void FailNewAfter(unsigned int nAllocations) {
    t_nAllowed = static_cast<long>(nAllocations);
}
void FailNewNever() {
    t_nAllowed = -1;
}

Bytes PngOf(int nChannels, int width, int height, Bytes const& pixels) {
    Bytes file;
    Fault fault;
    EXPECT_TRUE(EncodePng({pixels.data(), width, height, nChannels, 0}, "x.png", file, fault))
        << fault.GetText();
    return file;
}

ImageData RgbaImage(int width, int height, Bytes const& pixels) {
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

bool IsUntouched(ImageData const& image) {
    return Describe(image) == Describe(Untouched());
}

ImageData LoadGood(Bytes const& file, ImageOptions const& options) {
    ImageData image;
    Fault fault;
    EXPECT_TRUE(LoadPng(Span(file), "x.png", options, image, fault)) << fault.GetText();
    return image;
}

std::string Describe(ImageData const& image) {
    auto const size = [](int width, int height) {
        return std::to_string(width) + " x " + std::to_string(height);
    };
    std::string text = "format " + std::to_string(image.format) + ", " + size(image.width, image.height) +
                       " in " + size(image.allocatedWidth, image.allocatedHeight);
    for (MipLevel const& level : image.levels) {
        text += "; " + size(level.m_nWidth, level.m_nHeight) + " at " + std::to_string(level.m_nOffset) +
                " of " + std::to_string(level.m_nSize);
    }
    text += ":";
    for (std::uint8_t const byte : image.pixels) {
        text += " " + std::to_string(byte);
    }
    return text;
}

std::string ErrorOfPng(Bytes const& file, ImageOptions const& options) {
    ImageData image = Untouched();
    Fault fault;
    EXPECT_FALSE(LoadPng(Span(file), "x.png", options, image, fault));
    EXPECT_TRUE(IsUntouched(image));
    return fault.GetText();
}

} // namespace trevik::kelvo::assets::testing
