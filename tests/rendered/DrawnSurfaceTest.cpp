// Textures that live in surfaces, as they are seen.

#include "Stage.h"

#include "TextureGL2.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <atomic>
#include <cstring>
#include <set>
#include <thread>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

class DrawnSurface : public Stage {
protected:
    static constexpr int PictureWidth = 11;
    static constexpr int PictureHeight = 6;

    void SetUp() override { Open(); }

    static unsigned char* Lock(Texture& texture, SurfaceInfo& info) {
        void* const pPixels = texture.Lock();
        EXPECT_TRUE(texture.GetSurfaceInfo(&info));
        return static_cast<unsigned char*>(pPixels);
    }

    /** Writes a picture of 8 bits a channel into the surface to write next: the first row in memory is the
        lower one. */
    static void Write(Texture& texture, Image const& picture) {
        SurfaceInfo info = {};
        unsigned char* const pPixels = Lock(texture, info);
        ASSERT_NE(pPixels, nullptr);
        for (int y = 0; y < picture.Height(); ++y) {
            std::memcpy(pPixels + (picture.Height() - 1 - y) * info.m_nStride, &picture.At(0, y),
                        std::size_t(picture.Width()) * 4);
        }
        texture.Unlock();
    }

    Image Expected(Image const& picture) const {
        Canvas canvas(Width, Height, Clear);
        canvas.Blend(7, 5, picture);
        return canvas.Picture();
    }

    /** A picture that cannot be taken for another one. */
    static Image Picture(std::uint8_t nBlue) {
        Image picture = MakePicture(PictureWidth, PictureHeight);
        for (int y = 0; y < PictureHeight; ++y) {
            for (int x = 0; x < PictureWidth; ++x)
                picture.At(x, y).b = nBlue;
        }
        return picture;
    }

    static constexpr Shade Clear = {0, 0, 0, 1};
};

TEST_F(DrawnSurface, ShowsUprightTheSurfaceSwappedLastOnAnyThread) {
    for (bool const fDouble : {false, true}) {
        SCOPED_TRACE(fDouble);
        Image const before = Picture(10);
        Ref<Texture> const pTexture = MakeTexture(before);
        Ref<Sprite> const pSprite = AddSprite(Root(), 7, 5, pTexture);
        EXPECT_TRUE(CompareImages(DrawFrame(), Expected(before), Rounding, "before"));
        if (!pTexture->Promote(fDouble))
            GTEST_SKIP() << "no images of graphic buffers";
        Write(*pTexture, Picture(60));
        EXPECT_TRUE(CompareImages(DrawFrame(), Expected(before), Rounding, "promoted"));
        for (int nFrame = 1; nFrame < 5; ++nFrame) {
            auto const nBlue = std::uint8_t(nFrame * 50);
            std::thread([&] { Write(*pTexture, Picture(nBlue)); }).join();
            pTexture->Swap();
            EXPECT_TRUE(
                CompareImages(DrawFrame(), Expected(Picture(nBlue)), Rounding, std::to_string(nFrame)));
        }
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnSurface, TheOtherSurfaceStaysOutOfSightUntilADemotionShowsIt) {
    Ref<Texture> const pTexture = MakeTexture(Picture(10));
    AddSprite(Root(), 7, 5, pTexture);
    if (!pTexture->Promote(true))
        GTEST_SKIP() << "no images of graphic buffers";
    Write(*pTexture, Picture(60));
    pTexture->Swap();
    Image const written = Picture(200);
    Write(*pTexture, written);
    EXPECT_TRUE(CompareImages(DrawFrame(), Expected(Picture(60)), Rounding, "swapped"));
    ASSERT_TRUE(pTexture->Demote());
    // The same rows in memory, in a texture whose first row is the upper one.
    EXPECT_TRUE(CompareImages(DrawFrame(), Expected(Flip(written)), Rounding));
}

TEST_F(DrawnSurface, EachFormatShowsItsColours) {
    struct Case {
        TextureFormat::Enum format;
        std::vector<unsigned char> bytes; // 16-bit words with the lower byte first
        Pixel colour;
    } const cases[] = {
        {TextureFormat::RGB565, {0x1F, 0x04}, {0, 130, 255, 255}},
        {TextureFormat::RGBA5551, {0x3F, 0xF8}, {255, 0, 255, 255}},
        {TextureFormat::RGBA4444, {0x3F, 0xF0}, {255, 0, 51, 255}},
        {TextureFormat::ARGB4444, {0x3F, 0xF0}, {255, 0, 51, 255}}, // kept as the one before
        {TextureFormat::RGB888, {10, 60, 200}, {10, 60, 200, 255}},
        {TextureFormat::RGBX8888, {10, 60, 200, 0}, {10, 60, 200, 255}},
        {TextureFormat::RGBA8888, {10, 60, 200, 255}, {10, 60, 200, 255}},
        {TextureFormat::RGBA8888, {10, 60, 200, 0}, {10, 60, 200, 0}},
        {TextureFormat::BGRA8888, {10, 60, 200, 255}, {10, 60, 200, 255}}, // as are these two
        {TextureFormat::ETC1_RGB, {10, 60, 200, 255}, {10, 60, 200, 255}},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE(each.format);
        Ref<Texture> const pTexture =
            Texture::CreateTexture(PictureWidth, PictureHeight, each.format, nullptr, 0);
        ASSERT_TRUE(pTexture);
        Ref<Sprite> const pSprite = AddSprite(Root(), 7, 5, pTexture);
        if (!pTexture->Promote(false))
            GTEST_SKIP() << "no images of graphic buffers";
        SurfaceInfo info = {};
        unsigned char* const pPixels = Lock(*pTexture, info);
        ASSERT_NE(pPixels, nullptr);
        for (int y = 0; y < info.m_nHeight; ++y) {
            for (int x = 0; x < info.m_nWidth; ++x) {
                std::memcpy(pPixels + y * info.m_nStride + x * int(each.bytes.size()), each.bytes.data(),
                            each.bytes.size());
            }
        }
        pTexture->Unlock();
        pTexture->Swap();
        EXPECT_TRUE(CompareImages(DrawFrame(), Expected(Image(PictureWidth, PictureHeight, each.colour)),
                                  Rounding, std::to_string(each.format)));
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnSurface, ProducersOnOtherThreadsNeverShowAPartOfAPicture) {
    Ref<Texture> const textures[] = {MakeTexture(Picture(10)), MakeTexture(Picture(10))};
    for (int i = 0; i < 2; ++i) {
        AddSprite(Root(), 7.0f + 20 * float(i), 5, textures[i]);
        if (!textures[i]->Promote(i == 1))
            GTEST_SKIP() << "no images of graphic buffers";
        textures[i]->Swap(); // the first one takes the render thread
    }
    std::atomic<bool> fDone{false};
    std::vector<std::thread> producers;
    for (Ref<Texture> const& pTexture : textures) {
        producers.emplace_back([&fDone, &texture = *pTexture] {
            for (int n = 0; !fDone; n = (n + 5) % 256) {
                Write(texture, Picture(std::uint8_t(n)));
                texture.Swap();
            }
        });
    }
    std::set<int> seen[2];
    int nTorn = 0;
    // A busy machine may take its time until it lets both producers run.
    for (int nFrame = 0; nFrame < 100 || seen[0].size() < 2 || seen[1].size() < 2; ++nFrame) {
        Image const frame = DrawFrame();
        for (int i = 0; i < 2; ++i) {
            int const nLeft = 7 + 20 * i;
            int const nBlue = frame.At(nLeft, Height - 5 - PictureHeight).b;
            seen[i].insert(nBlue);
            for (int y = 0; y < PictureHeight; ++y) {
                for (int x = 0; x < PictureWidth; ++x)
                    nTorn += frame.At(nLeft + x, Height - 5 - PictureHeight + y).b != nBlue;
            }
        }
    }
    fDone = true;
    for (std::thread& producer : producers)
        producer.join();
    EXPECT_EQ(nTorn, 0);
}

} // namespace
} // namespace kelvo::test
