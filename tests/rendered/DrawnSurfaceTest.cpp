// Textures that live in surfaces, as they are seen.

#include "kelvo_test/Stage.h"
#include "kelvo_test/Threads.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <cstring>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;

class DrawnSurface : public Stage {
protected:
    static constexpr int PictureWidth = 11;
    static constexpr int PictureHeight = 6;

    void SetUp() override { Open(); }

    /** Writes a picture into the surface to write next: the first row in memory is the lower one. */
    static void Write(Texture& texture, Image const& picture) {
        SurfaceInfo info = {};
        auto* const pPixels = static_cast<unsigned char*>(texture.Lock());
        ASSERT_TRUE(pPixels && texture.GetSurfaceInfo(&info));
        for (int y = 0; y < info.m_nHeight; ++y) {
            std::memcpy(pPixels + y * info.m_nStride, &picture.At(0, picture.Height() - 1 - y),
                        std::size_t(picture.Width()) * 4);
        }
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
        if (!pTexture->Promote(fDouble)) {
            GTEST_SKIP() << "no images of graphic buffers";
        }
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

} // namespace
} // namespace kelvokit::test
