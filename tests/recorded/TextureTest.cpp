// How textures get into GL, and out of it.

#include "DeviceTest.h"
#include "trevik/Statistics.h"
#include "trevik/kelvo/MipLevel.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class TextureTest : public DeviceTest {
protected:
    TextureTest() {
        BringUp();
        m_nBytesBefore = Statistics::Instance().GetStat(Statistics::StatTextureMemory);
    }

    /** A texture of 8 x 4 texels whose one level is longer than any format needs. */
    static Ref<TextureGL2> MakeTexture(int nFormat) {
        static unsigned char s_bytes[128];
        Ref<TextureGL2> pTexture(new TextureGL2);
        pTexture->SetSize(8, 4);
        pTexture->SetFormat(static_cast<TextureFormat::Enum>(nFormat));
        pTexture->SetByteSize(sizeof s_bytes);
        SetLevel(*pTexture, 8, 4);
        pTexture->GetPixelData().GetBuffer().Borrow(s_bytes, sizeof s_bytes);
        return pTexture;
    }
    static void SetLevel(TextureGL2& texture, int nWidth, int nHeight) {
        List<MipLevel> levels;
        levels.Append(MipLevel{nWidth, nHeight, 0, 64});
        texture.GetMipLevels().SetValue(levels);
    }

    long long Counted() const {
        return Statistics::Instance().GetStat(Statistics::StatTextureMemory) - m_nBytesBefore;
    }

    long long m_nBytesBefore = 0;
};

TEST_F(TextureTest, UploadsEachFormatAsGlWantsIt) {
    struct Case {
        int format;
        std::string internal;
        char const* external; ///< null: compressed
    };
    // Others are in scenes.
    Case const cases[] = {
        {4, "GL_RGB", "GL_RGB, GL_UNSIGNED_BYTE"},
        {5, "GL_RGBA", "GL_RGBA, GL_UNSIGNED_BYTE"},
        {7, "GL_RGBA", "GL_RGBA, GL_UNSIGNED_BYTE"},
        {8, "GL_ATC_RGB_AMD", nullptr},
        {9, "GL_ATC_RGBA_EXPLICIT_ALPHA_AMD", nullptr},
        {10, "GL_DEPTH_COMPONENT", "GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT"},
        {11, "GL_DEPTH_STENCIL_OES", "GL_DEPTH_STENCIL_OES, GL_UNSIGNED_INT_24_8_OES"},
        {12, "GL_ETC1_RGB8_OES", nullptr},
        {13, "GL_ETC1_RGB8_OES", nullptr},
        {16, "GL_LUMINANCE", "GL_ALPHA, GL_UNSIGNED_SHORT"},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.format);
        Ref<TextureGL2> const pTexture = MakeTexture(test.format);
        Clear();
        EXPECT_NE(pTexture->GetGLTexture(), 0u);
        std::string const upload = test.external ? "glTexImage2D" : "glCompressedTexImage2D";
        std::string const end = test.external ? std::string(test.external) : "64";
        EXPECT_EQ(Count(upload + "(GL_TEXTURE_2D, 0, " + test.internal + ", 8, 4, 0, " + end + ", *)"), 1u)
            << Lines("gl*TexImage2D").at(0);
        bool const fDepth = test.format == 10 || test.format == 11;
        EXPECT_EQ(Count("glTexParameteri(*GL_NEAREST)"), fDepth ? 2u : 0u);
        EXPECT_EQ(pTexture->GetGLTextureAlpha(), 0u);
    }
    Ref<TextureGL2> const pTexture = MakeTexture(4);
    pTexture->GetMipLevels().GetWritableValue().Append(MipLevel{4, 2, 0, 64});
    Clear();
    pTexture->GetGLTexture();
    EXPECT_EQ(Count("glTexParameteri(*GL_LINEAR_MIPMAP_LINEAR)"), 2u);
}

TEST_F(TextureTest, AFormatThatCannotBeUploadedLeavesItsNameBehindBound) {
    for (int const format : {3, 17, 1000, -1}) {
        SCOPED_TRACE(format);
        Ref<TextureGL2> const pTexture = MakeTexture(format);
        Clear();
        EXPECT_EQ(pTexture->GetGLTexture(), 0u);
        EXPECT_EQ(Count("glGenTextures"), 1u);
        EXPECT_EQ(Count("glDeleteTextures"), 0u);
        EXPECT_NE(GetState().textures[0], 0u);
    }
    // Asked for as one upload, the format with two images is none either.
    Ref<TextureGL2> const pTexture = MakeTexture(14);
    EXPECT_EQ(pTexture->CreateGLTexture("", pTexture->GetMipLevels(), 14), 0u);
    EXPECT_TRUE(m_diagnostics.Messages().empty());
}

TEST_F(TextureTest, ASideBeyondTheDriversLimitIsNotUploaded) {
    for (SizeT<int> const size : {SizeT<int>(33554432, 1), SizeT<int>(1, 4097)}) {
        Ref<TextureGL2> const pTexture = MakeTexture(6);
        SetLevel(*pTexture, size.width, size.height);
        Clear();
        EXPECT_EQ(pTexture->GetGLTexture(), 0u);
        EXPECT_CALLS();
    }
}

TEST_F(TextureTest, IsMadeOnceCountedAndAnnounced) {
    Strings events;
    StatisticsListener const before = Statistics::Instance().SetListener(
        [](void* user, String16 const& event) {
            static_cast<Strings*>(user)->push_back(String8(event).GetData());
        },
        &events);
    Ref<TextureGL2> const pTexture = MakeTexture(6);
    GLuint const name = pTexture->GetGLTexture();
    EXPECT_EQ(pTexture->GetGLTexture(), name);
    EXPECT_EQ(Counted(), 128);
    EXPECT_EQ(events, Strings{"Create Texture: 8x4(128)"});
    pTexture->ReleaseGLTexture();
    EXPECT_EQ(Counted(), 0);
    Statistics::Instance().SetListener(before);
}

TEST_F(TextureTest, DropsThePixelsAfterTheUploadAndSaysSo) {
    Ref<TextureGL2> const pTexture = MakeTexture(6);
    int nChanges = 0;
    ASSERT_TRUE(pTexture->GetPixelData().GetChangeEvent().Connect([&](PixelBuffer const& buffer) {
        ++nChanges;
        EXPECT_EQ(buffer.GetSize(), 0u);
    }));
    ASSERT_NE(pTexture->GetGLTexture(), 0u);
    PixelBuffer const& buffer = pTexture->GetPixelData().GetBuffer();
    EXPECT_EQ(nChanges, 1);
    EXPECT_TRUE(!buffer.GetData() && buffer.IsOwning());
    int const nLive = Counts(Object::Texture).live;
    ASSERT_TRUE(pTexture->GetPixelData().GetBuffer().Allocate(128));
    EXPECT_TRUE(pTexture->CreateGLTexture());
    EXPECT_EQ(Counts(Object::Texture).live, nLive) << "the former one is gone";
    // Without pixels there is nothing to make it from again.
    pTexture->ReleaseGLTexture();
    EXPECT_EQ(pTexture->GetGLTexture(), 0u);
    EXPECT_FALSE(pTexture->CreateGLTexture());
}

TEST_F(TextureTest, WithoutPixelsNothingIsCalled) {
    Ref<TextureGL2> const pTexture(new TextureGL2);
    Clear();
    EXPECT_FALSE(pTexture->CreateGLTexture());
    EXPECT_EQ(pTexture->GetGLTexture(), 0u);
    EXPECT_EQ(pTexture->CreateGLTexture(nullptr, pTexture->GetMipLevels(), 6), 0u);
    EXPECT_CALLS();
}

TEST_F(TextureTest, APlainTextureHasNoSurfaces) {
    Ref<TextureGL2> const pTexture = MakeTexture(6);
    SurfaceInfo info{1, 2, 3, 4};
    EXPECT_FALSE(pTexture->IsPromoted());
    EXPECT_FALSE(pTexture->GetSurfaceInfo(&info));
    EXPECT_EQ(info.m_nStride, 3);
    EXPECT_EQ(pTexture->Swap(), -1);
    EXPECT_EQ(pTexture->Current(), -1);
    EXPECT_EQ(pTexture->Count(), 0);
    EXPECT_TRUE(pTexture->Demote());
    pTexture->Unlock();
    EXPECT_FALSE(pTexture->Compress());
    EXPECT_EQ(pTexture->GetGLTextureType(), static_cast<unsigned int>(GL_TEXTURE_2D));
    EXPECT_TRUE(m_diagnostics.Failures().empty());
    EXPECT_FALSE(pTexture->GetSurfaceInfo(nullptr));
    EXPECT_EQ(m_diagnostics.Failures(), Strings{"src/TextureGL2:407: pSurfaceInfo != __null"});
}

} // namespace
