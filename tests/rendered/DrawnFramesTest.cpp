// Frame after frame on a real driver: what is made once is kept, what is released is gone.

#include "Stage.h"

#include <GLES2/gl2.h>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

/** How many objects of each sort the current context knows; drivers hand small names out. */
struct NameCounts {
    int textures = 0, buffers = 0, framebuffers = 0, renderbuffers = 0, shaders = 0, programs = 0;

    static NameCounts Now() {
        NameCounts counts;
        for (GLuint name = 1; name < 2000; ++name) {
            counts.textures += glIsTexture(name);
            counts.buffers += glIsBuffer(name);
            counts.framebuffers += glIsFramebuffer(name);
            counts.renderbuffers += glIsRenderbuffer(name);
            counts.shaders += glIsShader(name);
            counts.programs += glIsProgram(name);
        }
        return counts;
    }

    bool operator==(NameCounts const& other) const {
        return textures == other.textures && buffers == other.buffers && framebuffers == other.framebuffers &&
               renderbuffers == other.renderbuffers && shaders == other.shaders && programs == other.programs;
    }
    friend std::ostream& operator<<(std::ostream& out, NameCounts const& counts) {
        return out << counts.textures << " textures, " << counts.buffers << " buffers, "
                   << counts.framebuffers << " framebuffers, " << counts.renderbuffers << " renderbuffers, "
                   << counts.shaders << " shaders, " << counts.programs << " programs";
    }
};

class DrawnFrames : public Stage {};

TEST_F(DrawnFrames, ASecondFrameIsTheSameAndMakesNothing) {
    Open();
    AddSprite(Root(), 5, 5, 20, 10, {1, 0, 0, 0.5});
    AddSprite(Root(), 10, 8, MakeTexture(MakePicture(15, 11)))->GetAntialiasProperty().SetValue(true);
    AddSprite(Root(), 30, 3, MakeTexture(MakePicture(5, 6)));
    Image const first = DrawFrame();
    NameCounts const counts = NameCounts::Now();
    EXPECT_EQ(counts.textures, 3) << "two pictures and the table of the antialiased edges";
    EXPECT_EQ(counts.programs, 11);
    EXPECT_EQ(counts.buffers, 0);
    EXPECT_TRUE(CompareImages(DrawFrame(), first));
    EXPECT_EQ(NameCounts::Now(), counts);
}

TEST_F(DrawnFrames, ReplacedPicturesTakeThePlaceOfTheOldOnes) {
    Open();
    Ref<Texture> const pTexture = MakeTexture(MakePicture(15, 11));
    AddSprite(Root(), 10, 8, pTexture);
    DrawFrame();
    int const textures = NameCounts::Now().textures;
    Image const picture(15, 11, Pixel{10, 200, 30, 255});
    ASSERT_TRUE(pTexture->Replace(15, 11, TextureFormat::RGBA8888, &picture.At(0, 0), 15 * 4));
    EXPECT_EQ(NameCounts::Now().textures, textures - 1);
    Canvas canvas(Width, Height, {0, 0, 0, 1});
    canvas.Blend(10, 8, picture);
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
    EXPECT_EQ(NameCounts::Now().textures, textures);
}

TEST_F(DrawnFrames, AReleasedPictureIsDeletedOnceAnotherIsDrawn) {
    Open();
    Ref<Sprite> const pSprite = AddSprite(Root(), 10, 8, MakeTexture(MakePicture(15, 11)));
    DrawFrame();
    int const textures = NameCounts::Now().textures;
    pSprite->SetTexture(MakeTexture(MakePicture(7, 7)).Get());
    DrawFrame(); // the program holds on to what it drew with last, until now
    EXPECT_EQ(NameCounts::Now().textures, textures);
}

TEST_F(DrawnFrames, ASecondDeviceDrawsAsTheFirstDid) {
    Image const picture = MakePicture(15, 11);
    Canvas canvas(Width, Height, {0, 0, 0, 1});
    canvas.Blend(10, 8, picture);
    for (int i = 0; i < 3; ++i) {
        Open();
        Ref<Sprite> const pSprite = AddSprite(Root(), 10, 8, MakeTexture(picture));
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding)) << i;
        EXPECT_EQ(NameCounts::Now().programs, 11);
        Root().Detach(pSprite.Get());
    }
}

} // namespace
} // namespace kelvo::test
