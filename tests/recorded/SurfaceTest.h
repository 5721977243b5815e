#pragma once

#include "DeviceTest.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <system/window.h>
#include <ui/GraphicBuffer.h>

namespace kelvokit::recording {

/** A test of textures that live in graphic buffers. */
class SurfaceTest : public DeviceTest {
protected:
    static constexpr int Width = 5;
    static constexpr int Height = 3;

    SurfaceTest() { BringUp(); }

    void Forget() {
        Clear();
        m_diagnostics.Forget();
    }

    static trevik::Ref<trevik::kelvo::TextureGL2> MakeTexture(int nFormat = 6, int nWidth = Width,
                                                              int nHeight = Height) {
        trevik::Ref<trevik::kelvo::TextureGL2> pTexture(new trevik::kelvo::TextureGL2);
        EXPECT_TRUE(pTexture->Replace(nWidth, nHeight,
                                      static_cast<trevik::kelvo::TextureFormat::Enum>(nFormat), nullptr, 0));
        return pTexture;
    }

    /** The buffers that images were asked for, oldest first. */
    static std::vector<::android::GraphicBuffer*> Buffers() {
        std::vector<::android::GraphicBuffer*> buffers;
        for (Call const& call : Calls("eglCreateImageKHR")) {
            auto* const pBuffer = static_cast<ANativeWindowBuffer*>(const_cast<void*>(call.Pointer(3)));
            buffers.push_back(static_cast<::android::GraphicBuffer*>(pBuffer));
        }
        return buffers;
    }

    /** Writes bytes that count up from `nFirst` into the current surface's pixels. */
    static void WriteSurface(trevik::kelvo::TextureGL2& texture, int nFirst) {
        trevik::kelvo::SurfaceInfo info = {};
        auto* const pPixels = static_cast<unsigned char*>(texture.Lock());
        ASSERT_NE(pPixels, nullptr);
        ASSERT_TRUE(texture.GetSurfaceInfo(&info));
        for (int y = 0; y < info.m_nHeight; ++y) {
            for (int x = 0; x < info.m_nWidth * 4; ++x) {
                pPixels[y * info.m_nStride + x] =
                    static_cast<unsigned char>(nFirst + y * info.m_nWidth * 4 + x);
            }
        }
        texture.Unlock();
    }
};

} // namespace kelvokit::recording
