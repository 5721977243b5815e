// Frame after frame on a real driver: what is made once is kept, what is released is gone.

#include "Stage.h"

#include <GLES2/gl2.h>

namespace kelvo::test {
namespace {

/** How many textures, buffers, framebuffers, renderbuffers, shaders and programs the current context knows.
 */
std::vector<int> CountNames() {
    std::vector<int> counts(6);
    for (GLuint name = 1; name < 2000; ++name) { // drivers hand small ones out
        int n = 0;
        for (auto const is :
             {glIsTexture, glIsBuffer, glIsFramebuffer, glIsRenderbuffer, glIsShader, glIsProgram})
            counts[std::size_t(n++)] += is(name);
    }
    return counts;
}

using DrawnFrames = Stage;

TEST_F(DrawnFrames, ASecondFrameIsTheSameAndMakesNothingOnEachOfThreeDevices) {
    for (int nDevice = 0; nDevice < 3; ++nDevice) {
        SCOPED_TRACE(nDevice);
        Open();
        Ref<trevik::kelvo::Timeline> const pScene = AddTimeline(Root());
        AddSprite(*pScene, 5, 5, 20, 10, {1, 0, 0, 0.5});
        AddSprite(*pScene, 10, 8, MakeTexture(MakePicture(15, 11)))->GetAntialiasProperty().SetValue(true);
        Ref<trevik::kelvo::Sprite> const pSprite = AddSprite(*pScene, 30, 3, MakeTexture(MakePicture(5, 6)));
        Image const first = DrawFrame();
        // Two pictures and the table of the antialiased edges; the catalogue.
        std::vector<int> const counts = {3, 0, 0, 0, CountNames()[4], 11};
        EXPECT_EQ(CountNames(), counts);
        EXPECT_TRUE(CompareImages(DrawFrame(), first));
        EXPECT_EQ(CountNames(), counts);
        pSprite->SetTexture(MakeTexture(MakePicture(7, 7)).Get());
        DrawFrame(); // the program holds on to what it drew with last, until now
        EXPECT_EQ(CountNames(), counts);
        Root().Detach(pScene.Get());
    }
}

} // namespace
} // namespace kelvo::test
