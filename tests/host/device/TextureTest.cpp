#include "kelvo_test/TestNodes.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <sstream>

namespace trevik::kelvo::test {
namespace {

typedef std::vector<unsigned char> Bytes;

Bytes PixelsOf(Texture& texture) {
    PixelBuffer const& buffer = texture.GetPixelData().GetBuffer();
    return Bytes(buffer.GetData(), buffer.GetData() + buffer.GetSize());
}

/** Sizes, format, levels and pixels. */
std::string Describe(Texture& texture) {
    std::ostringstream out;
    out << texture.GetWidth() << "x" << texture.GetHeight() << " of " << texture.GetAllocatedWidth() << "x"
        << texture.GetAllocatedHeight() << " format " << texture.GetFormat() << " stride "
        << texture.GetStride() << " size " << texture.GetByteSize();
    for (MipLevel const& level : texture.GetMipLevels().GetValue()) {
        out << " [" << level.m_nWidth << "x" << level.m_nHeight << " at " << level.m_nOffset << "+"
            << level.m_nSize << "]";
    }
    Bytes const pixels = PixelsOf(texture);
    return out.str() + " " + std::string(pixels.begin(), pixels.end());
}

/** The size that is used, and that of the whole image. */
struct Sizes {
    int m_nUsedWidth, m_nUsedHeight, m_nWidth, m_nHeight;
};

bool SetImage(Texture& texture, Sizes const& sizes, int nFormat, std::vector<MipLevel> const& levels,
              unsigned int nSize) {
    std::string letters(nSize, ' ');
    std::iota(letters.begin(), letters.end(), 'a');
    List<MipLevel> list;
    for (MipLevel const& level : levels) {
        list.Append(level);
    }
    return texture.SetImage(sizes.m_nUsedWidth, sizes.m_nUsedHeight, sizes.m_nWidth, sizes.m_nHeight,
                            static_cast<TextureFormat::Enum>(nFormat), list,
                            reinterpret_cast<unsigned char const*>(letters.data()), nSize, false);
}

Ref<TestTexture> MakeWithLevels() {
    Ref<TestTexture> const pTexture(new TestTexture);
    EXPECT_TRUE(SetImage(*pTexture, {3, 2, 4, 4}, TextureFormat::Alpha8, {{4, 4, 0, 16}, {2, 2, 16, 4}}, 20));
    return pTexture;
}

TEST(PixelData, TellsOfWhatItLoadsAndReportsItsOwnBytesAlone) {
    PixelDataProperty saved;
    PixelDataProperty loaded;
    saved.GetBuffer().Allocate(3);
    int nChanges = 0;
    loaded.GetChangeEvent().Connect([&](PixelBuffer const& buffer) {
        ++nChanges;
        EXPECT_EQ(buffer.GetSize(), 3u);
    });
    EXPECT_TRUE(LoadFrom(SaveToNode(saved), loaded));
    EXPECT_EQ(nChanges, 1);
    unsigned char const borrowed[5] = {};
    long long const nLive = Allocation::GetLiveCount();
    saved.GetBuffer().Borrow(borrowed, sizeof(borrowed));
    EXPECT_EQ(Allocation::GetLiveCount(), nLive - 1);
    MemoryTracer tracer;
    saved.Emit(&tracer);
    loaded.Emit(&tracer);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), 3u);
    MakeWithLevels()->Emit(&tracer);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), 3 + 20 + 2 * sizeof(MipLevel));
}

TEST(Texture, FormatsTakeTheirBytesAndNoMoreThanMemoryHolds) {
    std::ostringstream formats; // bytes per pixel, bytes of an image of 5 × 3, whether it is compressed
    for (int nFormat = -1; nFormat <= 17; ++nFormat) {
        Ref<TestTexture> const pTexture(new TestTexture);
        pTexture->SetFormat(static_cast<TextureFormat::Enum>(nFormat));
        EXPECT_EQ(pTexture->GetBytesPerPixel(), Texture::GetBytesPerPixel(nFormat));
        formats << pTexture->GetBytesPerPixel() << "/" << Texture::GetImageSize(5, 3, nFormat)
                << (pTexture->IsCompressed() ? "c " : " ");
    }
    EXPECT_EQ(formats.str(), "0/0 2/30 2/30 2/30 2/30 3/45 4/60 4/60 4/60 0/16c 0/32c 2/30 4/60 "
                             "0/16c 0/16c 0/16c 1/15 2/30 0/0 ");
    int const sizes[][4] = {{INT_MAX, INT_MAX, TextureFormat::RGBA8888, 0},
                            {INT_MAX, INT_MAX, TextureFormat::ETC1_RGB, 0},
                            {65536, 32768, TextureFormat::Alpha8, 0},
                            {65536, 32767, TextureFormat::Alpha8, 65536 * 32767},
                            {0, 4, TextureFormat::RGB565, 0},
                            {4, -1, TextureFormat::RGB565, 0}};
    for (auto const& [nWidth, nHeight, nFormat, nSize] : sizes) {
        EXPECT_EQ(Texture::GetImageSize(nWidth, nHeight, nFormat), static_cast<unsigned int>(nSize));
    }
}

TEST(Texture, ReplaceTakesRowsAtAnyDistanceAndCompressedImagesWhole) {
    Ref<TestTexture> const pTexture = MakeWithLevels();
    unsigned int nAnnounced = 0;
    pTexture->GetPixelData().GetChangeEvent().Connect([&nAnnounced](PixelBuffer const&) { ++nAnnounced; });
    std::string const letters = "abcdef--ghijkl--mnopqrstuvwxyzAB";
    struct {
        int m_nWidth, m_nHeight, m_nFormat, m_nStride;
        std::string m_result;
    } const cases[] = {
        {2, 2, TextureFormat::RGB888, 8, "2x2 of 2x2 format 4 stride 6 size 12 [2x2 at 0+12] abcdefghijkl"},
        {1, 2, TextureFormat::RGB565, 0, "1x2 of 1x2 format 0 stride 2 size 4 [1x2 at 0+4] abcd"},
        {8, 4, TextureFormat::ETC1_RGBA, 3, // a level's size is of the colours alone
         "8x4 of 8x4 format 14 stride 16 size 32 [8x4 at 0+16] " + letters},
    };
    for (auto const& test : cases) {
        ASSERT_TRUE(pTexture->Replace(test.m_nWidth, test.m_nHeight,
                                      static_cast<TextureFormat::Enum>(test.m_nFormat), letters.data(),
                                      test.m_nStride));
        EXPECT_EQ(Describe(*pTexture), test.m_result);
    }
    EXPECT_EQ(nAnnounced, 3u);
    EXPECT_TRUE(pTexture->Replace(16384, 1, TextureFormat::Alpha8, nullptr, 0));
    EXPECT_TRUE(pTexture->Replace(1, 16384, TextureFormat::Alpha8, nullptr, 0));
    ASSERT_TRUE(pTexture->Replace(2, 1, TextureFormat::Alpha8, nullptr, 0));
    EXPECT_EQ(PixelsOf(*pTexture), Bytes(2));
    unsigned char const borrowed[2] = {};
    ASSERT_TRUE(pTexture->SetImage(2, 1, 2, 1, TextureFormat::Alpha8, pTexture->GetMipLevels().GetValue(),
                                   borrowed, 2, true));
    EXPECT_EQ(pTexture->GetPixelData().GetBuffer().GetData(), borrowed);
    pTexture->GetPixelData().GetBuffer().Release();
    EXPECT_EQ(pTexture->GetByteSize(), 2u) << "kept for statistics";
}

TEST(Texture, WhatCannotBeItsImageLeavesItAsItWas) {
    Ref<TestTexture> const pTexture = MakeWithLevels();
    std::string const before = Describe(*pTexture);
    char const data[64] = {};
    int const images[][4] = {{0, 1, TextureFormat::RGB565, 0},
                             {1, -1, TextureFormat::RGB565, 0},
                             {16385, 1, TextureFormat::RGB565, 0},
                             {1, 16385, TextureFormat::ETC1_RGB, 0},
                             {2, 2, TextureFormat::RGB565, 3},
                             {2, 2, TextureFormat::RGB565, -4},
                             {1, 1, 99, 0},
                             {4, 4, TextureFormat::ETC1_Alpha, 0}};
    for (auto const& [nWidth, nHeight, nFormat, nStride] : images) {
        EXPECT_FALSE(
            pTexture->Replace(nWidth, nHeight, static_cast<TextureFormat::Enum>(nFormat), data, nStride));
        EXPECT_EQ(Describe(*pTexture), before) << nWidth << "x" << nHeight << " in " << nFormat;
    }
    for (unsigned int nAllocations = 0; nAllocations < 2; ++nAllocations) {
        Allocation::FailAfter(nAllocations);
        EXPECT_FALSE(pTexture->Replace(1, 1, TextureFormat::RGB565, data, 0));
        Allocation::FailNever();
        EXPECT_EQ(Describe(*pTexture), before);
    }
    std::tuple<char const*, Sizes, int, unsigned int, std::vector<MipLevel>> const cases[] = {
        {"used beyond the width", {5, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 0, 16}}},
        {"used beyond the height", {3, 5, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 0, 16}}},
        {"no width used", {0, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 0, 16}}},
        {"no height used", {3, 0, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 0, 16}}},
        {"too wide", {1, 1, 16385, 1}, TextureFormat::Alpha8, 16385, {{16385, 1, 0, 16385}}},
        {"too high", {1, 1, 1, 16385}, TextureFormat::Alpha8, 16385, {{1, 16385, 0, 16385}}},
        {"no level", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {}},
        {"a level too short", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 0, 15}}},
        {"a level past the end", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 1, 16}}},
        {"a level before the start", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, -1, 16}}},
        {"a level of less than nothing", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, 0, -16}}},
        {"an offset that overflows", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 4, INT_MAX, INT_MAX}}},
        {"a level of another width", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{2, 4, 0, 8}}},
        {"a level of another height", {3, 2, 4, 4}, TextureFormat::Alpha8, 16, {{4, 2, 0, 8}}},
        {"no halves", {3, 2, 4, 4}, TextureFormat::Alpha8, 20, {{4, 4, 0, 16}, {1, 1, 16, 1}}},
        {"less than a texel", {1, 1, 1, 1}, TextureFormat::Alpha8, 2, {{1, 1, 0, 1}, {1, 1, 1, 1}}},
        {"no room for the alpha plane", {3, 2, 4, 4}, TextureFormat::ETC1_RGBA, 15, {{4, 4, 0, 8}}},
        {"an upload request", {3, 2, 4, 4}, TextureFormat::ETC1_Alpha, 16, {{4, 4, 0, 8}}},
        {"no such format", {3, 2, 4, 4}, 17, 16, {{4, 4, 0, 16}}},
    };
    for (auto const& [pWhat, sizes, nFormat, nSize, levels] : cases) {
        EXPECT_FALSE(SetImage(*pTexture, sizes, nFormat, levels, nSize)) << pWhat;
        EXPECT_EQ(Describe(*pTexture), before) << pWhat;
    }
    EXPECT_TRUE(SetImage(*pTexture, {1, 2, 1, 2}, TextureFormat::Alpha8, {{1, 2, 0, 2}, {1, 1, 2, 1}}, 3));
    EXPECT_TRUE(SetImage(*pTexture, {2, 1, 2, 1}, TextureFormat::Alpha8, {{2, 1, 0, 2}, {1, 1, 2, 1}}, 3));
}

TEST(Texture, TakesNoSizeOrNumberOfSurfacesThatItCannotHave) {
    Ref<TestTexture> const pTexture(new TestTexture);
    pTexture->SetSize(8, 4);
    pTexture->SetUsedSize(5, 3);
    TraceLog log;
    for (int nSurfaces : {2, -1, 0, 1, 3}) {
        pTexture->SetWantedSurfaces(nSurfaces);
    }
    pTexture->SetUsedSize(9, 3);
    pTexture->SetUsedSize(5, 5);
    pTexture->SetUsedSize(5, 0);
    pTexture->SetUsedSize(0, 3);
    EXPECT_EQ(log.Messages().size(), 6u);
    EXPECT_EQ(Describe(*pTexture), "5x3 of 8x4 format 0 stride 16 size 0 ");
    EXPECT_EQ(pTexture->GetWantedSurfaces(), 1);
}

TEST(Texture, PromotionShowsTheImageTheRightWayUpOnEachSurface) {
    for (bool fTwo : {false, true}) {
        SCOPED_TRACE(fTwo);
        Ref<TestTexture> const pTexture(new TestTexture);
        ASSERT_TRUE(pTexture->Replace(2, 3, TextureFormat::Alpha8, "aabbcc", 0));
        ASSERT_TRUE(fTwo ? pTexture->PromoteWithImage(true) : pTexture->PromoteToSurface());
        EXPECT_TRUE(pTexture->IsPromoted());
        EXPECT_EQ(pTexture->Count(), fTwo ? 2 : 1);
        EXPECT_EQ(pTexture->Current(), fTwo ? 1 : 0) << "the first one is drawn";
        // A surface's first row is drawn at the bottom, a texture's at the top; its rows are 7 bytes apart.
        Bytes const shown = {'c',  'c',  0xee, 0xee, 0xee, 0xee, 0xee, 'b',  'b',  0xee, 0xee,
                             0xee, 0xee, 0xee, 'a',  'a',  0xee, 0xee, 0xee, 0xee, 0xee};
        EXPECT_EQ(pTexture->m_surface, shown);
        EXPECT_EQ(pTexture->m_other, fTwo ? shown : Bytes());
        EXPECT_FALSE(pTexture->PromoteToSurface()) << "twice";
    }
}

TEST(Texture, WhatCannotBePromotedIsNotNorSavedWhatCouldNotBeLoaded) {
    TraceLog log;
    Ref<TestTexture> textures[6];
    for (Ref<TestTexture>& pTexture : textures) {
        pTexture = Ref(new TestTexture);
        pTexture->Replace(4, 4, TextureFormat::RGB565, nullptr, 0);
    }
    auto& [pEmpty, pCompressed, pRefused, pLocked, pBare, pEnlarged] = textures;
    pEmpty->GetPixelData().GetBuffer().Release();
    pCompressed->Replace(4, 4, TextureFormat::ETC1_RGB, nullptr, 0);
    pRefused->m_fRefusePromotion = true;
    pLocked->m_fRefuseLock = true;
    pBare->GetMipLevels().GetWritableValue().Clear();
    pEnlarged->SetSize(8, 8);
    for (Ref<TestTexture> const& pTexture : textures) {
        EXPECT_FALSE(pTexture->PromoteToSurface());
        EXPECT_FALSE(pTexture->IsPromoted());
        EXPECT_EQ(pTexture->m_nLocks, 0) << "without pixels it counts as locked, too";
    }
    EXPECT_EQ(pEnlarged->Count(), 0);
    for (Ref<TestTexture> const& pTexture : {pEmpty, pBare, pEnlarged}) {
        EXPECT_FALSE(SaveToNode(*pTexture));
    }
    EXPECT_EQ(log.Messages().size(), 3u);
}

TEST(Texture, ASpriteCanHaveACopyForItself) {
    TestRegistry registry;
    Ref<TestTexture> const pShared = MakeWithLevels();
    Ref<TestSprite> const pSprite = Make<TestSprite>("s");
    EXPECT_FALSE(pSprite->Isolate()) << "there is none";
    pSprite->SetTexture(pShared.Get());
    ASSERT_TRUE(pSprite->Isolate());
    Texture* const pCopy = pSprite->GetTexture();
    ASSERT_NE(pCopy, pShared.Get());
    EXPECT_EQ(Describe(*pCopy), Describe(*pShared));
    pCopy->GetPixelData().GetBuffer().Release();
    EXPECT_FALSE(pSprite->Isolate()) << "its pixels are gone";
    EXPECT_EQ(pSprite->GetTexture(), pCopy);
}

TEST(Texture, IsMadeByTheDefaultRegistry) {
    auto const create = [](int nSide) {
        return bool(Texture::CreateTexture(nSide, nSide, TextureFormat::RGBA8888, nullptr, 0));
    };
    EXPECT_FALSE(create(1)) << "there is none";
    ClassRegistry empty;
    EXPECT_EQ(ClassRegistry::GetDefault(), &empty) << "the first one made";
    EXPECT_FALSE(create(1)) << "nor a class";
    {
        TestRegistry registry;
        EXPECT_EQ(ClassRegistry::GetDefault(), &registry);
        EXPECT_TRUE(create(1));
        EXPECT_FALSE(create(65536));
    }
    EXPECT_EQ(ClassRegistry::GetDefault(), nullptr) << "it ends with its registry";
}

} // namespace
} // namespace trevik::kelvo::test
