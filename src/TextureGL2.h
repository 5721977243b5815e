#pragma once

#include "Android/EGLImageHelper.h"
#include "Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

/**
 * A texture that lives in GL. The GL texture is made from the host's pixels when a renderer first asks for
 * it; the pixels are dropped then, so that an image costs memory once. An ETC1 image with alpha becomes two
 * GL textures. GL textures are made and deleted on the render thread.
 */
class KELVO_EXPORT TextureGL2 : public Texture {
public:
    TextureGL2();
    /** Deletes the GL textures. Render thread, once there are any. */
    ~TextureGL2() override;

    int GetStride() override;
    /** There is no compression at run time: false. */
    bool Compress() override;
    bool IsPromoted() override { return m_fEglImageInitialized && !m_fReleasePending; }
    bool Promote(bool fDoubleBuffered) override;
    bool Demote() override;
    bool GetSurfaceInfo(SurfaceInfo* pSurfaceInfo) const override;
    void* Lock() override;
    void Unlock() override;
    int Swap() override;
    int Current() override;
    int Count() override;
    /**
     * Deletes the GL textures and takes new pixels over, from which the next draw makes new ones. Not while
     * promoted.
     */
    bool Replace(int nWidth, int nHeight, TextureFormat::Enum format, void const* pData,
                 int nStride) override;
    jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmapFromTexture(int nImage) override;

    /**
     * The GL name of the image, or of its colour when the alpha is separate; made on first use, which is
     * counted in statistic 37 and announced as "Create Texture: WxH(bytes)". 0 when there are no pixels or
     * the format cannot be uploaded.
     */
    unsigned int GetGLTexture() { return m_nGLTexture != 0 ? m_nGLTexture : CreateCountedGLTexture(); }
    /** The GL name of the separate alpha of an ETC1_RGBA texture; 0 for other formats. */
    unsigned int GetGLTextureAlpha() {
        if (m_nGLTexture == 0) {
            CreateGLTexture();
        }
        return m_nGLTextureAlpha;
    }
    /** The target that the texture is bound to. */
    unsigned int GetGLTextureType() const { return GL_TEXTURE_2D; }

    /**
     * Makes the GL texture or textures from the pixels and drops these. False, changing nothing, without
     * pixels.
     */
    bool CreateGLTexture();
    /**
     * Makes one GL texture and uploads each level that the list describes from `pData`. Calls glGenTextures,
     * glBindTexture, glTexParameteri, then glTexImage2D or glCompressedTexImage2D with glGetError for each
     * level.
     * @param nFormat a TextureFormat::Enum; ETC1_Alpha uploads the alpha planes behind the colour planes.
     * @return the GL name; 0 without data and for formats that cannot be uploaded.
     */
    unsigned int CreateGLTexture(void const* pData, ListProperty<MipLevel> const& levels, int nFormat) const;
    /** Deletes the GL textures, those that exist, and takes their bytes off statistic 37. Render thread. */
    void ReleaseGLTexture();

    /** Called around each draw with this texture; there is nothing to do. */
    void PreRender() {}
    void PostRender() {}

private:
    unsigned int CreateCountedGLTexture();
    void DropPixels();
    void SetFilters(unsigned int nLevels) const;

    unsigned int m_nGLTexture = 0;
    unsigned int m_nGLTextureAlpha = 0;
    int m_nEglImages = 2;
    List<Ref<EGLImageHelper>> m_pEGLImage;
    int m_nCurrentEglImage = 0;
    bool m_fEglImageInitialized = false;
    bool m_fReleasePending = false;
};

} // namespace trevik::kelvo
