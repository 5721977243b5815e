// Blurred subtrees: the passes through their targets leave a picture upright and in its place.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/GaussianBlurEffect.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using DrawnBlur = Stage;

TEST_F(DrawnBlur, APictureStaysUprightAndInItsPlaceWhileItsEdgesFade) {
    for (int const width : {Width, 64}) { // half of which is not always whole
        SCOPED_TRACE(width);
        Open(DeviceFormat::RGBA8888, width, Height);
        ASSERT_TRUE(Device().InitializeTargetBuffers());
        Ref<GaussianBlurEffect> const pEffect = Make<GaussianBlurEffect>("GaussianBlurEffect");
        Root().AddEffect(pEffect.Get());
        Image const picture = MakePicture(width, Height);
        Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, MakeTexture(picture));
        for (int const amount : {-1, 0}) {
            pEffect->GetAmountProperty().SetValue(RealFloat(amount));
            EXPECT_TRUE(CompareImages(DrawFrame(), picture, Rounding)) << amount;
        }
        pEffect->GetAmountProperty().SetValue(1);
        // Slow gradients are nearly themselves, but for the jump in the middle of blue, which is a ramp of as
        // many pixels as there are taps at half the size; clamped at the rim.
        Image const blurred = DrawFrame();
        Image const expected = MakeImage(width, Height, [&](int x, int y) {
            Pixel pixel = picture.At(x, y);
            pixel.b = blurred.At(x, y).b;
            return pixel;
        });
        EXPECT_TRUE(CompareImages(blurred, expected, {22, 5, "targets of 5, 6 and 5 bits, and the rim"}));
        EXPECT_NEAR(blurred.At(width / 2, Height / 2).b, 120, 30);
        EXPECT_NEAR(blurred.At(width / 2 - 12, Height / 2).b, 40, 10);
        EXPECT_NEAR(blurred.At(width / 2 + 12, Height / 2).b, 200, 10);
        Root().Detach(pSprite.Get());
        Root().RemoveEffect(pEffect.Get()); // what effects share goes before the device
    }
}

} // namespace
} // namespace kelvokit::test
