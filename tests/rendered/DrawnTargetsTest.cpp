// Frames that go through the frame targets, and pixels that are read back.

#include "kelvo_test/Stage.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using trevik::RectangleT;

/** The targets keep 5 to 6 bits of each colour. */
constexpr Tolerance FewerBits = {8, 4, "a target's 5, 6 and 5 bits of colour"};

/** Reads rectangles of the frame before it is shown. */
class DrawnTargets : public Stage {
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
            m_readings.push_back(Ref(pTexture));
        }
        if (m_fInTarget) {
            Device().SwapTargetBuffers(true);
            Device().RenderForPostProcess();
        }
    }

    /** A reading as a picture: its rows come bottom row first. */
    static Image ToImage(Texture& texture) {
        unsigned char const* const pBytes = texture.GetPixelData().GetBuffer().GetData();
        int const width = texture.GetWidth(), height = texture.GetHeight();
        return MakeImage(width, height, [&](int x, int y) {
            unsigned char const* p = pBytes + ((height - 1 - y) * width + x) * texture.GetBytesPerPixel();
            return Pixel{p[0], p[1], p[2]};
        });
    }

    bool m_fInTarget = false; ///< the scene is drawn, read and shown by way of a frame target
    std::vector<RectangleT<int>> m_rectangles;
    std::vector<Ref<Texture>> m_readings;
};

TEST_F(DrawnTargets, AFrameIsShownAndReadBackUprightAndWhole) {
    struct {
        DeviceFormat::Enum surface;
        bool inTarget;
        TextureFormat::Enum format;
        Tolerance tolerance;
    } const cases[] = {
        {DeviceFormat::RGB565, false, TextureFormat::RGB888, FewerBits},
        {DeviceFormat::RGB888, false, TextureFormat::RGB888, Rounding},
        {DeviceFormat::RGBA8888, false, TextureFormat::RGB888, Rounding},
        {DeviceFormat::RGB888, true, TextureFormat::RGBA8888,
         FewerBits}, // 16 bits, as these windows may not have
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.surface);
        SCOPED_TRACE(test.inTarget);
        Open(test.surface);
        m_fInTarget = test.inTarget;
        ASSERT_TRUE(!m_fInTarget || Device().InitializeTargetBuffers());
        Image const picture = MakePicture(Width, Height);
        Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, MakeTexture(picture));
        AddSprite(*pSprite, 5, 9, 31, 17, {0.3, 0.7, 0.1, 0.6});
        Canvas canvas(Width, Height);
        canvas.Blend(0, 0, picture);
        canvas.Blend(5, 9, 31, 17, {0.3, 0.7, 0.1, 0.6});
        m_rectangles = {{0, 0, Width, Height},
                        {0, 0, 7, 5},
                        {Width - 9, 0, Width, 3},
                        {0, Height - 4, 6, Height},
                        {Width - 5, Height - 11, Width, Height},
                        {13, 17, 14, 18}};
        Image const shown = DrawFrame();
        EXPECT_TRUE(CompareImages(shown, canvas.Picture(), test.tolerance));
        for (std::size_t n = 0; n < m_rectangles.size(); ++n) {
            RectangleT<int> const& part = m_rectangles[n];
            ASSERT_TRUE(m_readings.at(n));
            EXPECT_TRUE(m_readings[n]->GetFormat() == test.format || test.surface == DeviceFormat::RGB565);
            EXPECT_TRUE(CompareImages(ToImage(*m_readings[n]),
                                      shown.Cut(part.left, part.top, part.GetWidth(), part.GetHeight()),
                                      m_fInTarget ? Rounding : Tolerance()))
                << n;
        }
        m_readings.clear();
        Root().Detach(pSprite.Get());
    }
}

} // namespace
} // namespace kelvokit::test
