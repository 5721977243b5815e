#pragma once

#include "Android/EGLImageHelper.h"
#include "Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <GLES2/gl2.h>

#include <atomic>

namespace trevik::kelvo {

/**
 * A texture that lives in GL. The GL texture is made from the host's pixels when a renderer first asks for
 * it; the pixels are dropped then, so that an image costs memory once. An ETC1 image with alpha becomes two
 * GL textures. GL textures are made and deleted on the render thread.
 */
class KELVO_EXPORT TextureGL2 : public Texture {
public:
    TextureGL2();
    /**
     * Deletes the GL textures made from the pixels, and the surfaces. Calls what ReleaseGLTexture and
     * EGLImageImpl::Destroy call. Render thread where there are such GL textures, else any thread.
     */
    ~TextureGL2() override;

    /** Of the surface that producers write next while promoted, else of the pixels. */
    int GetStride() override;
    /** There is no compression at run time: false. */
    bool Compress() override;
    bool IsPromoted() override { return m_surfaces == Surfaces::Shown; }
    /**
     * Makes one or two surfaces of the texture's size, RGBA8888 ones for compressed formats. What was drawn
     * before is drawn until the first Swap, and IsPromoted is false until then. Calls what
     * EGLImageImpl::Create calls. Render thread. True, without any change, when there are surfaces already;
     * false, with the texture as it was, when one cannot be made.
     */
    bool Promote(bool fDoubleBuffered) override;
    /**
     * Takes the pixels of the surface that producers write next, not of the one drawn last, intended
     * (demote-next-surface), and gives the surfaces up. Calls what Replace and EGLImageImpl::Destroy call.
     * Render thread, before the first Swap. Always true: where the pixels cannot be taken, without memory or
     * in a format that textures lack, that is traced and the texture stays as it was.
     */
    bool Demote() override;
    bool GetSurfaceInfo(SurfaceInfo* pSurfaceInfo) const override;
    /**
     * The pixels of the current surface, after promoting to a single one where there are none, which calls
     * what Promote calls. The caller unlocks before it swaps. Any thread once promoted, else the render
     * thread. Null when the promotion fails.
     */
    void* Lock() override;
    void Unlock() override;
    /**
     * Has the surface just written drawn from now on. Answers which one producers write next, -1 where there
     * are none. The first Swap calls what ReleaseGLTexture calls, on the render thread; later ones call
     * nothing, on any thread.
     */
    int Swap() override;
    int Current() override;
    int Count() override;
    /**
     * Makes surface `nImage` at the texture's size, in place of what it was. Calls what EGLImageImpl::Create
     * calls. Render thread. False where that fails and, asserted, where there is no such surface.
     */
    bool CreateEGLImage(int nImage);
    /**
     * Takes new pixels over, from which the next draw makes new GL textures, and deletes those of before.
     * `nStride` is in bytes. Calls what ReleaseGLTexture calls. Render thread. False, with the texture
     * unchanged, while promoted (asserted) and where the host refuses the pixels.
     */
    bool Replace(int nWidth, int nHeight, TextureFormat::Enum format, void const* pData,
                 int nStride) override;
    /**
     * A Java bitmap over a surface, after promoting to a single one where there are none, which calls what
     * Promote calls; `nImage` must be below Count() of the promoted texture. The render thread for a
     * promotion, and one attached to the Java virtual machine. One that is not promotes no texture, intended
     * (java-bitmap-index), and gives an empty object where there is no such surface.
     */
    jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmapFromTexture(int nImage) override;

    /**
     * The GL name of the image, or of its colour when the alpha is separate; made on first use, which is
     * counted in statistic 37 and announced as "Create Texture: WxH(bytes)". The first use calls what
     * CreateGLTexture calls. Render thread. 0 when there are no pixels, the format cannot be uploaded, or a
     * side is longer than the driver takes.
     */
    unsigned int GetGLTexture() {
        unsigned int const nName = m_nShownName.load(std::memory_order_acquire);
        return nName != 0 ? nName : CreateCountedGLTexture();
    }
    /** The name that GetGLTexture gives, as it is: nothing is made, counted or announced for it. */
    unsigned int GetGLName() const { return m_nShownName.load(std::memory_order_acquire); }
    /**
     * The GL name of the separate alpha of an ETC1_RGBA texture; 0 for other formats. Calls what
     * CreateGLTexture calls while there is no GL texture. Render thread.
     */
    unsigned int GetGLTextureAlpha() {
        if (m_nShownName == 0) {
            CreateGLTexture();
        }
        return m_nAlphaName;
    }
    /** The target that the texture is bound to. */
    unsigned int GetGLTextureType() const { return GL_TEXTURE_2D; }

    /**
     * Makes the GL texture or textures from the pixels and drops these, or takes a surface's while promoted.
     * Calls what ReleaseGLTexture calls, then the calls of the other form. Render thread. False, changing
     * nothing, without pixels.
     */
    bool CreateGLTexture();
    /**
     * Makes one GL texture and uploads each level that the list describes from `pData`. `nFormat` is a
     * TextureFormat::Enum; ETC1_Alpha uploads the alpha planes behind the colour planes. Calls glGenTextures,
     * glBindTexture, glTexParameteri, then glTexImage2D or glCompressedTexImage2D with glGetError for each
     * level, around them glGetIntegerv and glPixelStorei for rows that are no multiple of 8 bytes. Render
     * thread. The GL name; 0 without data, for formats that cannot be uploaded, and, without a call, for
     * sides beyond GL_MAX_TEXTURE_SIZE.
     */
    unsigned int CreateGLTexture(void const* pData, ListProperty<MipLevel> const& levels, int nFormat) const;
    /**
     * Deletes the GL textures, those that exist, and takes their bytes off statistic 37. Calls
     * glDeleteTextures. Render thread; on another one that is asserted, and they go at the next
     * GraphicsDevice::Process. Those of a context that is gone went with it.
     */
    void ReleaseGLTexture();

    /** Called around each draw with this texture; there is nothing to do. */
    void PreRender() {}
    /** Called after each draw with this texture; there is nothing to do. */
    void PostRender() {}

private:
    /** How far a promotion has come. */
    enum class Surfaces : unsigned char {
        None,  ///< not promoted
        Made,  ///< what was drawn before is drawn still
        Shown, ///< the first Swap has been: a surface is drawn
    };

    /** The GL textures of an image, and what is needed to delete and uncount them. */
    struct Names {
        unsigned int nColor, nAlpha;
        unsigned int nByteSize;
        unsigned int nContext;
    };

    Names TakeNames(unsigned int nColor);
    static void Release(Names const& names);
    unsigned int CreateCountedGLTexture();
    void DropPixels();
    void SetFilters(unsigned int nLevels) const;

    EGLImageHelper* FindEGLImage(int nImage) const;
    EGLImageHelper& GetEGLImage(int nImage) const;
    EGLImageHelper& CurrentEGLImage() const {
        return GetEGLImage(m_nCurrentEglImage.load(std::memory_order_relaxed));
    }
    void ShowSurfaces();

    // Swap writes some of these on a producer's thread while the render thread draws.
    std::atomic<unsigned int> m_nShownName{0}; ///< the GL texture to draw: the owned one or a surface's
    unsigned int m_nOwnedName = 0;             ///< the GL texture made from the pixels, or its colour
    unsigned int m_nAlphaName = 0;             ///< owned as well
    unsigned int m_nContext = 0;               ///< the number of the context that these belong to
    int m_nEglImages = 2;                      ///< of the last promotion
    List<Ref<EGLImageHelper>> m_pEGLImage;
    std::atomic<int> m_nCurrentEglImage{0}; ///< the surface that producers write next
    std::atomic<Surfaces> m_surfaces{Surfaces::None};
};

} // namespace trevik::kelvo
