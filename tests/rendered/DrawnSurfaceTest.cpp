// Textures that live in surfaces, as they are seen.

#include "Stage.h"

#include "kelvo_test/Threads.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

class DrawnSurface : public Stage {
protected:
    static constexpr int PictureWidth = 11;
    static constexpr int PictureHeight = 6;

    void SetUp() override { Open(); }

    /** Writes a picture of 8 bits a channel into the surface to write next: the first row in memory is the
     * lower one. */
    static void Write(Texture& texture, Image const& picture) {
        WriteRows(texture, [&](unsigned char* pRow, int y) {
            std::memcpy(pRow, &picture.At(0, picture.Height() - 1 - y), std::size_t(picture.Width()) * 4);
        });
    }
    template <class Row>
    static void WriteRows(Texture& texture, Row const& row) {
        SurfaceInfo info = {};
        auto* const pPixels = static_cast<unsigned char*>(texture.Lock());
        ASSERT_TRUE(pPixels && texture.GetSurfaceInfo(&info));
        for (int y = 0; y < info.m_nHeight; ++y)
            row(pPixels + y * info.m_nStride, y);
        texture.Unlock();
    }

    Canvas Expected(Image const& picture) const {
        Canvas canvas(Width, Height);
        canvas.Blend(7, 5, picture);
        return canvas;
    }

    /** A picture that cannot be taken for another one. */
    static Image Picture(int nBlue) {
        Image const picture = MakePicture(PictureWidth, PictureHeight);
        return MakeImage(PictureWidth, PictureHeight, [&](int x, int y) {
            return Pixel{picture.At(x, y).r, picture.At(x, y).g, std::uint8_t(nBlue)};
        });
    }
};

TEST_F(DrawnSurface, ShowsUprightTheSurfaceSwappedLastOnAnyThreadAndADemotionShowsTheOther) {
    for (bool const fDouble : {false, true}) {
        SCOPED_TRACE(fDouble);
        Ref<Texture> const pTexture = MakeTexture(Picture(10));
        Ref<Sprite> const pSprite = AddSprite(Root(), 7, 5, pTexture);
        EXPECT_TRUE(Shows(Expected(Picture(10)), Rounding, "before"));
        if (!pTexture->Promote(fDouble))
            GTEST_SKIP() << "no images of graphic buffers";
        Write(*pTexture, Picture(60));
        EXPECT_TRUE(Shows(Expected(Picture(10)), Rounding, "promoted"));
        for (int nBlue = 50; nBlue < 250; nBlue += 50) {
            RunOnThreads(1, [&](int) { Write(*pTexture, Picture(nBlue)); });
            pTexture->Swap();
            EXPECT_TRUE(Shows(Expected(Picture(nBlue)), Rounding, std::to_string(nBlue)));
        }
        Write(*pTexture, Picture(60));
        EXPECT_TRUE(Shows(Expected(Picture(fDouble ? 200 : 60))));
        ASSERT_TRUE(pTexture->Demote());
        // The same rows in memory, in a texture whose first row is the upper one.
        EXPECT_TRUE(Shows(Expected(Flip(Picture(60))), Rounding, "demoted"));
        Root().Detach(pSprite.Get());
    }
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
        WriteRows(*pTexture, [&](unsigned char* pRow, int) {
            for (int x = 0; x < PictureWidth; ++x)
                std::copy(each.bytes.begin(), each.bytes.end(), pRow + x * int(each.bytes.size()));
        });
        pTexture->Swap();
        EXPECT_TRUE(Shows(Expected(Image(PictureWidth, PictureHeight, each.colour))));
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnSurface, ProducersOnOtherThreadsNeverShowAPartOfAPicture) {
    Ref<Texture> const textures[] = {MakeTexture(Picture(10)), MakeTexture(Picture(10))};
    for (int i = 0; i < 2; ++i) {
        AddSprite(Root(), 7 + 20 * i, 5, textures[i]);
        if (!textures[i]->Promote(i == 1))
            GTEST_SKIP() << "no images of graphic buffers";
        Write(*textures[i], Picture(10));
        textures[i]->Swap(); // the first one takes the render thread
    }
    auto const produce = [&](int nProducer, int nRound) {
        Write(*textures[nProducer], Picture(5 * nRound % 256));
        textures[nProducer]->Swap();
    };
    RunBesideThreads(2, produce, [&] {
        std::set<int> seen[2];
        // A busy machine may take its time until it lets both producers run.
        for (int nFrame = 0; nFrame < 100 || seen[0].size() < 2 || seen[1].size() < 2; ++nFrame) {
            Image const frame = DrawFrame();
            for (int i = 0; i < 2; ++i) {
                Image const part =
                    frame.Cut(7 + 20 * i, Height - 5 - PictureHeight, PictureWidth, PictureHeight);
                int const nBlue = part.At(0, 0).b;
                seen[i].insert(nBlue);
                ASSERT_TRUE(CompareImages(part, Picture(nBlue), Rounding)) << "torn";
            }
        }
    });
}

} // namespace
} // namespace kelvo::test
