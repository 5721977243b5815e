#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "PropertyTestSupport.h"
#include "TestNodes.h"
#include "trevik/Allocation.h"

namespace trevik::kelvo::test {
namespace {

std::vector<unsigned char> PixelsOf(Texture& texture) {
    PixelBuffer const& buffer = texture.GetPixelData().GetBuffer();
    return std::vector<unsigned char>(buffer.GetData(), buffer.GetData() + buffer.GetSize());
}

MipLevel Level(int nWidth, int nHeight, int nOffset, int nSize) {
    MipLevel level;
    level.m_nWidth = nWidth;
    level.m_nHeight = nHeight;
    level.m_nOffset = nOffset;
    level.m_nSize = nSize;
    return level;
}

List<MipLevel> Levels(std::vector<MipLevel> const& levels) {
    List<MipLevel> list;
    for (MipLevel const& level : levels) {
        list.Append(level);
    }
    return list;
}

/** A texture of 4 × 4 with a level of 2 × 2, of which 3 × 2 is used. */
Ref<TestTexture> MakeWithLevels() {
    Ref<TestTexture> const pTexture(new TestTexture);
    unsigned char bytes[20];
    for (unsigned int n = 0; n < sizeof(bytes); ++n) {
        bytes[n] = static_cast<unsigned char>(n);
    }
    EXPECT_TRUE(pTexture->SetImage(3, 2, 4, 4, TextureFormat::Alpha8,
                                   Levels({Level(4, 4, 0, 16), Level(2, 2, 16, 4)}), bytes, sizeof(bytes),
                                   false));
    return pTexture;
}

TEST(PixelData, LoadsWhatItHasSavedAndSaysSo) {
    Serializer serializer;
    PixelDataProperty saved;
    ASSERT_TRUE(saved.GetBuffer().Allocate(3));
    std::memcpy(saved.GetBuffer().GetData(), "abc", 3);
    ASSERT_TRUE(saved.Save(serializer));
    PixelDataProperty loaded;
    unsigned char const before[5] = {};
    loaded.GetBuffer().Borrow(before, sizeof(before));
    int nChanges = 0;
    ASSERT_TRUE(loaded.GetChangeEvent().Connect([&](PixelBuffer const& buffer) {
        ++nChanges;
        EXPECT_EQ(buffer.GetSize(), 3u);
    }));
    EXPECT_FALSE(LoadFrom(Ref<DocumentNode>(new DocumentNode(0, 0)), loaded)) << "there is no value";
    EXPECT_EQ(loaded.GetBuffer().GetData(), before);
    EXPECT_EQ(nChanges, 0);
    EXPECT_TRUE(LoadFrom(serializer.Finish(), loaded));
    EXPECT_EQ(std::memcmp(loaded.GetBuffer().GetData(), "abc", 3), 0);
    EXPECT_TRUE(loaded.GetBuffer().IsOwning());
    EXPECT_EQ(nChanges, 1);
    // Only its own pixels count as its memory.
    MemoryTracer tracer;
    loaded.Emit(&tracer);
    loaded.GetBuffer().Borrow(before, sizeof(before));
    loaded.Emit(&tracer);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), 3u);
}

TEST(Texture, FormatsTakeTheirBytes) {
    struct Case {
        int m_nFormat;
        int m_nBytesPerPixel;
        unsigned int m_nSize; ///< of an image of 5 × 3
        bool m_fCompressed;
    };
    Case const cases[] = {{TextureFormat::RGB565, 2, 30, false},
                          {TextureFormat::RGBA5551, 2, 30, false},
                          {TextureFormat::RGBA4444, 2, 30, false},
                          {TextureFormat::ARGB4444, 2, 30, false},
                          {TextureFormat::RGB888, 3, 45, false},
                          {TextureFormat::RGBX8888, 4, 60, false},
                          {TextureFormat::RGBA8888, 4, 60, false},
                          {TextureFormat::BGRA8888, 4, 60, false},
                          {TextureFormat::ATC_RGB, 0, 16, true},
                          {TextureFormat::ATC_RGBA, 0, 32, true},
                          {TextureFormat::Depth16, 2, 30, false},
                          {TextureFormat::Depth24Stencil8, 4, 60, false},
                          {TextureFormat::ETC1_Alpha, 0, 16, true},
                          {TextureFormat::ETC1_RGB, 0, 16, true},
                          {TextureFormat::ETC1_RGBA, 0, 16, true},
                          {TextureFormat::Alpha8, 1, 15, false},
                          {TextureFormat::Single16, 2, 30, false},
                          {17, 0, 0, false},
                          {-1, 0, 0, false}};
    for (Case const& c : cases) {
        Ref<TestTexture> const pTexture(new TestTexture);
        pTexture->SetFormat(static_cast<TextureFormat::Enum>(c.m_nFormat));
        EXPECT_EQ(Texture::GetBytesPerPixel(c.m_nFormat), c.m_nBytesPerPixel) << c.m_nFormat;
        EXPECT_EQ(pTexture->GetBytesPerPixel(), c.m_nBytesPerPixel) << c.m_nFormat;
        EXPECT_EQ(Texture::GetImageSize(5, 3, c.m_nFormat), c.m_nSize) << c.m_nFormat;
        EXPECT_EQ(pTexture->IsCompressed(), c.m_fCompressed) << c.m_nFormat;
    }
}

TEST(Texture, SizesThatNoMemoryHoldsAreNone) {
    EXPECT_EQ(Texture::GetImageSize(INT_MAX, INT_MAX, TextureFormat::RGBA8888), 0u);
    EXPECT_EQ(Texture::GetImageSize(INT_MAX, INT_MAX, TextureFormat::ETC1_RGB), 0u);
    EXPECT_EQ(Texture::GetImageSize(65536, 32768, TextureFormat::Alpha8), 0u);
    EXPECT_EQ(Texture::GetImageSize(65536, 32767, TextureFormat::Alpha8), 65536u * 32767u);
    EXPECT_EQ(Texture::GetImageSize(0, 4, TextureFormat::RGB565), 0u);
    EXPECT_EQ(Texture::GetImageSize(4, -1, TextureFormat::RGB565), 0u);
    TestRegistry registry;
    EXPECT_FALSE(Texture::CreateTexture(65536, 65536, TextureFormat::RGBA8888, nullptr, 0));
}

TEST(Texture, ReplaceTakesRowsAtAnyDistance) {
    Ref<TestTexture> const pTexture(new TestTexture);
    char const spaced[] = "abcdef--ghijkl--";
    unsigned int nAnnounced = 0;
    function<void(PixelBuffer const&)> const count([&nAnnounced](PixelBuffer const&) { ++nAnnounced; });
    pTexture->GetPixelData().GetChangeEvent().Connect(count);
    ASSERT_TRUE(pTexture->Replace(2, 2, TextureFormat::RGB888, spaced, 8));
    EXPECT_EQ(PixelsOf(*pTexture),
              (std::vector<unsigned char>{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'}));
    EXPECT_EQ(nAnnounced, 1u);
    EXPECT_EQ(pTexture->GetStride(), 6);
    EXPECT_EQ(pTexture->GetByteSize(), 12u);
    ASSERT_EQ(pTexture->GetMipLevels().GetValue().GetCount(), 1u);
    EXPECT_EQ(pTexture->GetMipLevels().GetValue()[0], Level(2, 2, 0, 12));
    ASSERT_TRUE(pTexture->Replace(1, 2, TextureFormat::RGB565, "wxyz", 0));
    EXPECT_EQ(PixelsOf(*pTexture), (std::vector<unsigned char>{'w', 'x', 'y', 'z'}));
    ASSERT_TRUE(pTexture->Replace(2, 1, TextureFormat::Alpha8, nullptr, 0));
    EXPECT_EQ(PixelsOf(*pTexture), (std::vector<unsigned char>{0, 0}));
}

TEST(Texture, CompressedImagesAreTakenWhole) {
    Ref<TestTexture> const pTexture(new TestTexture);
    std::vector<unsigned char> const blocks(32, 7);
    ASSERT_TRUE(pTexture->Replace(8, 4, TextureFormat::ETC1_RGBA, blocks.data(), 3));
    EXPECT_EQ(PixelsOf(*pTexture), blocks) << "colours and alpha";
    EXPECT_EQ(pTexture->GetMipLevels().GetValue()[0].m_nSize, 16) << "of the colours alone";
    EXPECT_EQ(pTexture->GetStride(), 16);
}

TEST(Texture, WhatCannotReplaceLeavesItAsItWas) {
    struct Case {
        char const* m_pWhat;
        int m_nWidth;
        int m_nHeight;
        int m_nFormat;
        int m_nStride;
    };
    Case const cases[] = {{"no width", 0, 1, TextureFormat::RGB565, 0},
                          {"negative height", 1, -1, TextureFormat::RGB565, 0},
                          {"too wide", 16385, 1, TextureFormat::RGB565, 0},
                          {"too high", 1, 16385, TextureFormat::ETC1_RGB, 0},
                          {"rows that overlap", 2, 2, TextureFormat::RGB565, 3},
                          {"rows that go back", 2, 2, TextureFormat::RGB565, -4},
                          {"no such format", 1, 1, 99, 0},
                          {"an upload request", 4, 4, TextureFormat::ETC1_Alpha, 0}};
    char const data[64] = {};
    for (Case const& c : cases) {
        Ref<TestTexture> const pTexture = MakeWithLevels();
        std::vector<unsigned char> const before = PixelsOf(*pTexture);
        EXPECT_FALSE(pTexture->Replace(c.m_nWidth, c.m_nHeight, static_cast<TextureFormat::Enum>(c.m_nFormat),
                                       data, c.m_nStride))
            << c.m_pWhat;
        EXPECT_EQ(PixelsOf(*pTexture), before) << c.m_pWhat;
        EXPECT_EQ(pTexture->GetFormat(), TextureFormat::Alpha8) << c.m_pWhat;
        EXPECT_EQ(pTexture->GetMipLevels().GetValue().GetCount(), 2u) << c.m_pWhat;
    }
    Ref<TestTexture> const pTexture = MakeWithLevels();
    for (unsigned int nAllocations = 0; nAllocations < 2; ++nAllocations) {
        Allocation::FailAfter(nAllocations);
        EXPECT_FALSE(pTexture->Replace(1, 1, TextureFormat::RGB565, data, 0));
        Allocation::FailNever();
        EXPECT_EQ(pTexture->GetAllocatedWidth(), 4);
    }
}

TEST(Texture, ImagesWhoseLevelsDoNotFitAreRefused) {
    struct Case {
        char const* m_pWhat;
        int m_nUsedWidth;
        int m_nFormat;
        std::vector<MipLevel> m_levels;
        unsigned int m_nBytes;
    };
    Case const cases[] = {
        {"used beyond allocated", 5, TextureFormat::Alpha8, {Level(4, 4, 0, 16)}, 16},
        {"nothing used", 0, TextureFormat::Alpha8, {Level(4, 4, 0, 16)}, 16},
        {"no level", 3, TextureFormat::Alpha8, {}, 16},
        {"a level too short", 3, TextureFormat::Alpha8, {Level(4, 4, 0, 15)}, 16},
        {"a level past the end", 3, TextureFormat::Alpha8, {Level(4, 4, 1, 16)}, 16},
        {"a level before the start", 3, TextureFormat::Alpha8, {Level(4, 4, -1, 16)}, 16},
        {"an offset that overflows", 3, TextureFormat::Alpha8, {Level(4, 4, INT_MAX, INT_MAX)}, 16},
        {"a first level of another size", 3, TextureFormat::Alpha8, {Level(2, 2, 0, 4)}, 16},
        {"levels that do not halve", 3, TextureFormat::Alpha8, {Level(4, 4, 0, 16), Level(1, 1, 16, 1)}, 20},
        {"a level below one texel",
         3,
         TextureFormat::Alpha8,
         {Level(4, 4, 0, 16), Level(2, 2, 16, 4), Level(1, 1, 20, 1), Level(1, 1, 20, 1)},
         21},
        {"no room for the alpha plane", 3, TextureFormat::ETC1_RGBA, {Level(4, 4, 0, 8)}, 15},
        {"an upload request", 3, TextureFormat::ETC1_Alpha, {Level(4, 4, 0, 8)}, 16},
        {"no such format", 3, 17, {Level(4, 4, 0, 16)}, 16},
    };
    unsigned char const bytes[32] = {};
    for (Case const& c : cases) {
        Ref<TestTexture> const pTexture = MakeWithLevels();
        EXPECT_FALSE(pTexture->SetImage(c.m_nUsedWidth, 2, 4, 4,
                                        static_cast<TextureFormat::Enum>(c.m_nFormat), Levels(c.m_levels),
                                        bytes, c.m_nBytes, false))
            << c.m_pWhat;
        EXPECT_EQ(pTexture->GetWidth(), 3) << c.m_pWhat;
        EXPECT_EQ(pTexture->GetByteSize(), 20u) << c.m_pWhat;
    }
}

TEST(Texture, BorrowedPixelsStayTheirOwners) {
    Ref<TestTexture> const pTexture(new TestTexture);
    unsigned char const bytes[4] = {1, 2, 3, 4};
    ASSERT_TRUE(
        pTexture->SetImage(2, 2, 2, 2, TextureFormat::Alpha8, Levels({Level(2, 2, 0, 4)}), bytes, 4, true));
    PixelBuffer& buffer = pTexture->GetPixelData().GetBuffer();
    EXPECT_EQ(buffer.GetData(), bytes);
    EXPECT_FALSE(buffer.IsOwning());
    buffer.Release();
    EXPECT_EQ(buffer.GetData(), nullptr);
    EXPECT_TRUE(buffer.IsOwning());
    EXPECT_EQ(buffer.GetSize(), 0u);
    EXPECT_EQ(pTexture->GetByteSize(), 4u) << "kept for statistics";
}

TEST(Texture, TakesNoSizeOrNumberOfSurfacesThatItCannotHave) {
    Ref<TestTexture> const pTexture(new TestTexture);
    pTexture->SetSize(8, 4);
    pTexture->SetUsedSize(5, 3);
    TraceLog log;
    pTexture->SetUsedSize(9, 3);
    pTexture->SetUsedSize(5, 0);
    pTexture->SetWantedSurfaces(1);
    pTexture->SetWantedSurfaces(3);
    pTexture->SetWantedSurfaces(-1);
    EXPECT_EQ(pTexture->GetWantedSurfaces(), 1);
    EXPECT_EQ(log.GetLines().size(), 4u);
    EXPECT_EQ(pTexture->GetWidth(), 5);
    EXPECT_EQ(pTexture->GetHeight(), 3);
    EXPECT_EQ(pTexture->GetAllocatedWidth(), 8);
}

TEST(Texture, WhatCouldNotBeLoadedIsNotSaved) {
    Ref<TestTexture> const pTexture = MakeWithLevels();
    TraceLog log;
    pTexture->SetSize(8, 8);
    EXPECT_FALSE(SaveToNode(*pTexture)) << "its pixels are of another size";
    pTexture->GetPixelData().GetBuffer().Release();
    EXPECT_FALSE(SaveToNode(*pTexture)) << "it has none";
    EXPECT_EQ(log.GetLines().size(), 2u);
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
        // A surface's first row is drawn at the bottom, a texture's at the top.
        std::size_t const nStride = std::size_t(pTexture->GetSurfaceStride());
        for (auto const* pSurface :
             {&pTexture->m_surface, fTwo ? &pTexture->m_other : &pTexture->m_surface}) {
            EXPECT_EQ((*pSurface)[0], 'c');
            EXPECT_EQ((*pSurface)[nStride + 1], 'b');
            EXPECT_EQ((*pSurface)[nStride * 2], 'a');
            EXPECT_EQ((*pSurface)[2], 0xee) << "nothing beyond the row";
        }
        EXPECT_FALSE(pTexture->PromoteToSurface()) << "twice";
    }
}

TEST(Texture, WhatCannotBePromotedIsNot) {
    Ref<TestTexture> const pEmpty(new TestTexture);
    EXPECT_FALSE(pEmpty->PromoteToSurface());
    Ref<TestTexture> const pCompressed(new TestTexture);
    pCompressed->Replace(4, 4, TextureFormat::ETC1_RGB, nullptr, 0);
    EXPECT_FALSE(pCompressed->PromoteToSurface());
    Ref<TestTexture> const pRefused(new TestTexture);
    pRefused->Replace(4, 4, TextureFormat::RGB565, nullptr, 0);
    pRefused->m_fRefusePromotion = true;
    EXPECT_FALSE(pRefused->PromoteToSurface());
    EXPECT_FALSE(pRefused->IsPromoted());
    pRefused->m_fRefusePromotion = false;
    pRefused->m_fRefuseLock = true;
    EXPECT_FALSE(pRefused->PromoteToSurface());
    EXPECT_EQ(pRefused->m_nLocks, 0) << "without pixels it counts as locked, too";
    Ref<TestTexture> const pBare(new TestTexture); // pixels that no level describes
    pBare->SetSize(2, 2);
    pBare->GetPixelData().GetBuffer().Allocate(8);
    EXPECT_FALSE(pBare->PromoteToSurface());
    Ref<TestTexture> const pEnlarged = MakeWithLevels();
    pEnlarged->SetSize(8, 8);
    EXPECT_FALSE(pEnlarged->PromoteToSurface());
    EXPECT_EQ(pEnlarged->Count(), 0);
}

TEST(Texture, ASpriteCanHaveACopyForItself) {
    TestRegistry registry;
    Ref<TestTexture> const pShared = MakeWithLevels();
    Ref<TestSprite> const pSprite = Make<TestSprite>("s");
    EXPECT_FALSE(pSprite->Isolate()) << "there is none";
    pSprite->SetTexture(pShared.Get());
    ASSERT_TRUE(pSprite->Isolate());
    ASSERT_NE(pSprite->GetTexture(), pShared.Get());
    EXPECT_EQ(PixelsOf(*pSprite->GetTexture()), PixelsOf(*pShared));
    EXPECT_EQ(pSprite->GetTexture()->GetHeight(), 2);
    pSprite->GetTexture()->GetPixelData().GetBuffer().Release();
    Texture* const pDropped = pSprite->GetTexture();
    EXPECT_FALSE(pSprite->Isolate()) << "its pixels are gone";
    EXPECT_EQ(pSprite->GetTexture(), pDropped);
}

TEST(Texture, IsMadeByTheDefaultRegistry) {
    EXPECT_FALSE(Texture::CreateTexture(1, 1, TextureFormat::RGB565, nullptr, 0)) << "there is none";
    ClassRegistry empty;
    EXPECT_EQ(ClassRegistry::GetDefault(), &empty) << "the first one made";
    EXPECT_FALSE(Texture::CreateTexture(1, 1, TextureFormat::RGB565, nullptr, 0)) << "nor a class";
    {
        TestRegistry registry;
        EXPECT_EQ(ClassRegistry::GetDefault(), &registry);
        EXPECT_TRUE(Texture::CreateTexture(1, 1, TextureFormat::RGB565, nullptr, 0));
    }
    EXPECT_EQ(ClassRegistry::GetDefault(), nullptr) << "it ends with its registry";
}

} // namespace
} // namespace trevik::kelvo::test
