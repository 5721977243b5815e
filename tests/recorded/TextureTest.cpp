// How textures get into GL, and out of it.

#include "DeviceTest.h"

#include "trevik/Statistics.h"
#include "trevik/kelvo/MipLevel.h"

#include <thread>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class TextureTest : public DeviceTest {
protected:
    TextureTest() {
        BringUp();
        m_nBytesBefore = Statistics::Instance().GetStat(Statistics::StatTextureMemory);
    }

    /** A texture of 8 x 4 texels with this many levels, each half the size, over bytes 0, 1, 2 and so on. */
    Ref<TextureGL2> MakeTexture(int nFormat, unsigned int nLevels = 1) {
        List<MipLevel> levels;
        int nOffset = 0;
        for (unsigned int i = 0; i < nLevels; ++i) {
            MipLevel level;
            level.m_nWidth = 8 >> i;
            level.m_nHeight = 4 >> i;
            level.m_nOffset = nOffset;
            level.m_nSize = 64;
            levels.Append(level);
            nOffset += 128;
        }
        m_bytes.resize(static_cast<std::size_t>(nOffset));
        for (std::size_t i = 0; i < m_bytes.size(); ++i) {
            m_bytes[i] = static_cast<unsigned char>(i);
        }
        Ref<TextureGL2> pTexture(new TextureGL2);
        pTexture->SetSize(8, 4);
        pTexture->SetFormat(static_cast<TextureFormat::Enum>(nFormat));
        pTexture->SetByteSize(static_cast<unsigned int>(m_bytes.size()));
        pTexture->GetMipLevels().SetValue(levels);
        pTexture->GetPixelData().GetBuffer().Borrow(m_bytes.data(),
                                                    static_cast<unsigned int>(m_bytes.size()));
        return pTexture;
    }

    long long Counted() const {
        return Statistics::Instance().GetStat(Statistics::StatTextureMemory) - m_nBytesBefore;
    }

    std::vector<unsigned char> m_bytes;
    long long m_nBytesBefore = 0;
};

TEST_F(TextureTest, UploadsEachFormatAsGlWantsIt) {
    struct Case {
        int format;
        char const* upload;
    };
    Case const cases[] = {
        {0, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 8, 4, 0, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, *)"},
        {1, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 8, 4, 0, GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1, *)"},
        {2, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 8, 4, 0, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4, *)"},
        {4, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 8, 4, 0, GL_RGB, GL_UNSIGNED_BYTE, *)"},
        {5, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 8, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, *)"},
        {6, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 8, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, *)"},
        {7, "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 8, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, *)"},
        {8, "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ATC_RGB_AMD, 8, 4, 0, 64, *)"},
        {9, "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ATC_RGBA_EXPLICIT_ALPHA_AMD, 8, 4, 0, 64, *)"},
        {10, "glTexImage2D(GL_TEXTURE_2D, 0, GL_DEPTH_COMPONENT, 8, 4, 0, GL_DEPTH_COMPONENT, "
             "GL_UNSIGNED_SHORT, *)"},
        {11, "glTexImage2D(GL_TEXTURE_2D, 0, GL_DEPTH_STENCIL_OES, 8, 4, 0, GL_DEPTH_STENCIL_OES, "
             "GL_UNSIGNED_INT_24_8_OES, *)"},
        {12, "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ETC1_RGB8_OES, 8, 4, 0, 64, *)"},
        {13, "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ETC1_RGB8_OES, 8, 4, 0, 64, *)"},
        {15, "glTexImage2D(GL_TEXTURE_2D, 0, GL_ALPHA, 8, 4, 0, GL_ALPHA, GL_UNSIGNED_BYTE, *)"},
        {16, "glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, 8, 4, 0, GL_ALPHA, GL_UNSIGNED_SHORT, *)"},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.format);
        Ref<TextureGL2> const pTexture = MakeTexture(test.format);
        Clear();
        EXPECT_NE(pTexture->GetGLTexture(), 0u);
        EXPECT_EQ(Count(test.upload), 1u) << Lines("gl*TexImage2D").at(0);
        bool const fDepth = test.format == 10 || test.format == 11;
        EXPECT_EQ(Count("glTexParameteri(*GL_NEAREST)"), fDepth ? 2u : 0u);
        EXPECT_EQ(pTexture->GetGLTextureAlpha(), 0u);
    }
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
    EXPECT_EQ(pTexture->CreateGLTexture(m_bytes.data(), pTexture->GetMipLevels(), 14), 0u);
    EXPECT_TRUE(m_diagnostics.Messages().empty());
}

TEST_F(TextureTest, ASideBeyondTheDriversLimitIsNotUploaded) {
    for (SizeT<int> const size : {SizeT<int>(33554432, 1), SizeT<int>(1, 4097)}) {
        Ref<TextureGL2> const pTexture = MakeTexture(6);
        List<MipLevel> levels;
        levels.Append(MipLevel{size.width, size.height, 0, 64});
        pTexture->GetMipLevels().SetValue(levels);
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
    EXPECT_EQ(buffer.GetData(), nullptr);
    EXPECT_EQ(buffer.GetSize(), 0u);
    EXPECT_TRUE(buffer.IsOwning());
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
