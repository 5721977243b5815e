// Frames that go through the frame targets, and pixels that are read back.

#include "Stage.h"

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::RectangleT;

/** The targets keep 5 to 6 bits of each colour. */
constexpr Tolerance FewerBits = {8, 4, "a target's 5, 6 and 5 bits of colour"};

class DrawnTargets : public Stage {
protected:
    void DrawScene() override {
        if (!m_fPostProcess) {
            Stage::DrawScene();
            return;
        }
        Device().SwapTargetBuffers(false);
        Stage::DrawScene();
        Device().SwapTargetBuffers(true);
        Device().RenderForPostProcess();
    }

    bool m_fPostProcess = false;
};

TEST_F(DrawnTargets, APostProcessedFrameIsTheFrame) {
    Open();
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    m_fPostProcess = true;
    Image const picture = MakePicture(23, 13);
    AddSprite(Root(), 9, 5, MakeTexture(picture));
    AddSprite(Root(), 40, 20, 21, 17, {0.25, 0.5, 1, 0.5});
    Canvas canvas(Width, Height, {0, 0, 0, 1});
    canvas.Blend(9, 5, picture);
    canvas.Blend(40, 20, 21, 17, {0.25, 0.5, 1, 0.5});
    for (int frame : {1, 2}) {
        SCOPED_TRACE(frame);
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), FewerBits));
    }
}

/** Reads rectangles of the frame before it is shown. */
class DrawnReadBack : public Stage {
protected:
    void DrawScene() override {
        if (m_fInTarget) {
            Device().SwapTargetBuffers(false);
        }
        Stage::DrawScene();
        m_readings.clear();
        for (RectangleT<int> const& rectangle : m_rectangles) {
            Texture* pTexture = nullptr;
            EXPECT_TRUE(Device().ReadPixels(rectangle, &pTexture));
            m_readings.push_back(pTexture);
        }
        if (m_fInTarget) {
            Device().SwapTargetBuffers(true);
        }
    }

    /** A reading as a picture: its rows come bottom row first. */
    static Image ToImage(Texture& texture) {
        int const bytes = texture.GetBytesPerPixel();
        Image picture(texture.GetWidth(), texture.GetHeight());
        unsigned char const* pByte = texture.GetPixelData().GetBuffer().GetData();
        for (int y = texture.GetHeight(); y-- > 0;) {
            for (int x = 0; x < texture.GetWidth(); ++x, pByte += bytes)
                picture.At(x, y) = {pByte[0], pByte[1], pByte[2], 255};
        }
        return picture;
    }

    static Image Cut(Image const& whole, RectangleT<int> const& part) {
        Image picture(part.right - part.left, part.bottom - part.top);
        for (int y = part.top; y < part.bottom; ++y) {
            for (int x = part.left; x < part.right; ++x)
                picture.At(x - part.left, y - part.top) = whole.At(x, y);
        }
        return picture;
    }

    bool m_fInTarget = false; ///< the scene is drawn, and read, in a frame target
    std::vector<RectangleT<int>> m_rectangles;
    std::vector<Ref<Texture>> m_readings;
};

TEST_F(DrawnReadBack, GivesThePixelsOfEachCornerAndOfTheWhole) {
    struct Case {
        DeviceFormat::Enum surface;
        bool inTarget;
        TextureFormat::Enum format;
        Tolerance tolerance;
    };
    // A frame target has the 16 bits of colour that windows of this driver have not.
    for (Case const& test : {Case{DeviceFormat::RGB888, false, TextureFormat::RGB888, Rounding},
                             Case{DeviceFormat::RGBA8888, false, TextureFormat::RGB888, Rounding},
                             Case{DeviceFormat::RGB888, true, TextureFormat::RGBA8888, FewerBits}}) {
        SCOPED_TRACE(test.format);
        Open(test.surface);
        m_fInTarget = test.inTarget;
        ASSERT_TRUE(!m_fInTarget || Device().InitializeTargetBuffers());
        Image const picture = MakePicture(Width, Height);
        Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, MakeTexture(picture));
        m_rectangles = {{0, 0, 7, 5},
                        {Width - 9, 0, Width, 3},
                        {0, Height - 4, 6, Height},
                        {Width - 5, Height - 11, Width, Height},
                        {0, 0, Width, Height},
                        {13, 17, 14, 18}};
        DrawFrame();
        for (std::size_t n = 0; n < m_rectangles.size(); ++n) {
            SCOPED_TRACE(n);
            ASSERT_TRUE(m_readings.at(n));
            EXPECT_EQ(m_readings[n]->GetFormat(), test.format);
            EXPECT_TRUE(CompareImages(ToImage(*m_readings[n]), Cut(picture, m_rectangles[n]), test.tolerance,
                                      std::to_string(n)));
        }
        m_readings.clear();
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnReadBack, IsWhatTheWindowShows) {
    for (DeviceFormat::Enum const surface : {DeviceFormat::RGB565, DeviceFormat::RGB888}) {
        SCOPED_TRACE(surface);
        Open(surface);
        Ref<Sprite> const pBelow = AddSprite(Root(), 0, 0, MakeTexture(MakePicture(Width, Height)));
        Ref<Sprite> const pAbove = AddSprite(Root(), 5, 9, 31, 17, {0.3, 0.7, 0.1, 0.6});
        m_rectangles = {{0, 0, Width, Height}};
        Image const shown = DrawFrame();
        ASSERT_TRUE(m_readings.at(0));
        EXPECT_TRUE(CompareImages(ToImage(*m_readings[0]), shown)) << "to the last bit";
        m_readings.clear();
        Root().Detach(pBelow.Get());
        Root().Detach(pAbove.Get());
    }
}

TEST_F(DrawnReadBack, AReadingDrawnAgainStandsOnItsHead) {
    Open();
    Image const picture = MakePicture(20, 10);
    AddSprite(Root(), 0, Height - 10, MakeTexture(picture));
    m_rectangles = {{0, 0, 20, 10}};
    DrawFrame();
    Ref<Sprite> const pCopy = AddSprite(Root(), 30, 3, m_readings.at(0));
    m_rectangles.clear();
    Canvas canvas(Width, Height, {0, 0, 0, 1});
    canvas.Blend(0, Height - 10, picture);
    canvas.Blend(30, 3, Flip(picture));
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

} // namespace
} // namespace kelvo::test
