#pragma once

#include "trevik/Encoding.h"
#include "trevik/Export.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"
#include "trevik/StringEncoded.h"
#include "trevik/kelvo/FormatLayout.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/MipLevel.h"
#include "trevik/kelvo/PixelData.h"
#include "trevik/kelvo/SurfaceInfo.h"
#include "trevik/kelvo/TextureFormat.h"

namespace trevik::jni {
template <class T>
class Object;
namespace android::graphics {
class Bitmap;
}
} // namespace trevik::jni

namespace trevik::kelvo {

class Deserializer;
class Serializer;

/**
 * An image that nodes draw with: its size, format, mip levels and pixels. The first row in memory is the
 * image's top row. The used size is the part that holds the image, the allocated size that of the whole
 * texture (compressed formats round up to whole blocks). Rows of pixels follow each other without gaps. Back
 * ends drop the pixels once they have uploaded them.
 */
class TREVIK_API Texture : public Referenced, public ITraceable {
public:
    Texture();
    ~Texture() override;
    Texture(Texture const&) = delete;
    Texture& operator=(Texture const&) = delete;

    /**
     * Texels that a side of an image has at most. Few devices draw as many (GL_MAX_TEXTURE_SIZE), and with
     * all its levels such an image still has less than 2^31 bytes in every format.
     */
    static constexpr int MaximumSide = 16384;

    /** Bytes per row of the pixel data; of a promoted texture, of its surface. */
    virtual int GetStride();
    /** Compresses the pixels at run time; false where the back end cannot. */
    virtual bool Compress() = 0;
    /**
     * Writes name, sizes, format, levels and pixels. False, traced, when the pixels have been dropped, or
     * sizes, levels and pixels have been set apart from each other so that Load would refuse them.
     */
    virtual bool Save(Serializer& serializer);
    /**
     * Reads what Save wrote; false, noted and with the texture unchanged, when the sizes, levels and bytes do
     * not agree, or a side exceeds MaximumSide.
     */
    virtual bool Load(Deserializer& deserializer);
    void Emit(MemoryTracer* pTracer) override;
    /** Whether the texture is drawn from graphic-buffer surfaces. */
    virtual bool IsPromoted() = 0;
    /** Moves the texture into one (false) or two (true) surfaces that producers write. Render thread. */
    virtual bool Promote(bool fDoubleBuffered) = 0;
    /** Turns a promoted texture back into one with pixels. */
    virtual bool Demote() = 0;
    /** Describes the surface that producers write next; false when the texture has none. */
    virtual bool GetSurfaceInfo(SurfaceInfo* pSurfaceInfo) const = 0;
    /** Address of the current surface's pixels; null on failure, which takes an Unlock too. Any thread. */
    virtual void* Lock() = 0;
    /** Hands the pixels written since Lock over to the renderer; after a failed Lock, too. Any thread. */
    virtual void Unlock() = 0;
    /** Shows the surface just written and makes the other one current; returns Current(). */
    virtual int Swap() = 0;
    /** Index of the surface that producers write next; -1 when there is none. */
    virtual int Current() = 0;
    /** Number of surfaces; 0 when there are none. */
    virtual int Count() = 0;
    /**
     * Replaces size, format and pixels: copies `nHeight` rows, `nStride` bytes apart (0: tightly packed),
     * from `pData` (null: zeros) into one level. Compressed formats are copied as a whole. False, with the
     * texture unchanged, when a side is not 1 to MaximumSide, the format is none that textures have, rows
     * would overlap, or memory is short.
     */
    virtual bool Replace(int nWidth, int nHeight, TextureFormat::Enum format, void const* pData, int nStride);
    /** An android.graphics.Bitmap over surface `nImage`; an empty object on failure. */
    virtual jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmapFromTexture(int nImage) = 0;
    /**
     * Promotes the texture to a single surface that shows its image and is drawn from now on. False when it
     * has no pixels (any more) that agree with its size and levels, is compressed or promoted already, or
     * when promoting or writing the surface fails. Render thread.
     */
    virtual bool PromoteToSurface();
    /**
     * The same with one (false) or two (true) surfaces, all of which show the image: a producer that writes a
     * part of it at a time finds the rest there.
     */
    bool PromoteWithImage(bool fDoubleBuffered);

    /** Whether the format is one of the block-compressed ones. */
    bool IsCompressed() const;
    /** Bytes per pixel of the texture's format; 0 for compressed formats, which have less than one. */
    int GetBytesPerPixel() const;
    /** The same for any format. */
    static int GetBytesPerPixel(int nFormat) { return FormatLayout::Get(nFormat).m_nBytesPerPixel; }
    /**
     * Bytes from row to row of pixel data in a format, from block row to block row of a compressed one; 0
     * when there is no such format or the width is not positive.
     */
    static unsigned int GetRowSize(int nWidth, int nFormat) {
        unsigned long long const nSize = FormatLayout::Get(nFormat).GetRowSize(nWidth);
        return nSize <= INT_MAX ? static_cast<unsigned int>(nSize) : 0;
    }
    /**
     * Bytes of one `nWidth` × `nHeight` image in a format (one plane of ETC1_RGBA), rounded up to whole
     * blocks; 0 when there is no such format, a side is not positive, or the bytes exceed 2^31 - 1.
     */
    static unsigned int GetImageSize(int nWidth, int nHeight, int nFormat) {
        return FormatLayout::Get(nFormat).GetImageSize(nWidth, nHeight);
    }

    /**
     * A new texture of the class registered as "Texture", with one level of pixels as Replace takes them.
     * Null when no such class is registered (with ClassRegistry::GetDefault()) or Replace fails.
     */
    static Ref<Texture> CreateTexture(int nWidth, int nHeight, int nFormat, void const* pData, int nStride);

    /**
     * A new texture of the class registered as "Texture" with the same image; null without pixels or class.
     */
    Ref<Texture> CreateCopy() const;

    int GetWidth() const { return m_nWidth; }   ///< used width, texels
    int GetHeight() const { return m_nHeight; } ///< used height, texels
    /** Width of the memory, texels. */
    int GetAllocatedWidth() const { return m_nAllocatedWidth; }
    /** Height of the memory, texels. */
    int GetAllocatedHeight() const { return m_nAllocatedHeight; }
    /** How the texels are laid out. */
    TextureFormat::Enum GetFormat() const { return m_format; }
    /** Bytes of all levels, kept after the pixels are gone. */
    unsigned int GetByteSize() const { return m_nByteSize; }
    /** Where the levels lie in the pixels, the largest first. */
    ListProperty<MipLevel>& GetMipLevels() { return m_mipLevels; }
    /** Where the levels lie in the pixels, the largest first. */
    ListProperty<MipLevel> const& GetMipLevels() const { return m_mipLevels; }
    /** The pixels of all levels; gone once they have been uploaded. */
    PixelDataProperty& GetPixelData() { return m_pixelData; }

    /** Names another layout; the pixels stay as they are. */
    void SetFormat(TextureFormat::Enum format) { m_format = format; }
    /** Sets used and allocated size; the pixels stay as they are. */
    void SetSize(int nWidth, int nHeight) {
        m_nWidth = nWidth;
        m_nHeight = nHeight;
        m_nAllocatedWidth = nWidth;
        m_nAllocatedHeight = nHeight;
    }
    /** Narrows the used size; one that is not positive or exceeds the allocated size is refused (traced). */
    void SetUsedSize(int nWidth, int nHeight);
    /** Sets what GetByteSize answers. */
    void SetByteSize(unsigned int nByteSize) { m_nByteSize = nByteSize; }

    /**
     * Takes over a whole image with levels. `pData` is copied, or, with `fBorrow`, only referred to (the
     * caller keeps it alive until it has been uploaded). False, with the texture unchanged, when the used
     * size is not within the allocated one, or that exceeds MaximumSide, there is no level, or the levels do
     * not halve from the allocated size or do not fit the data.
     */
    bool SetImage(int nUsedWidth, int nUsedHeight, int nAllocatedWidth, int nAllocatedHeight,
                  TextureFormat::Enum format, List<MipLevel> const& levels, unsigned char const* pData,
                  unsigned int nSize, bool fBorrow);

    /**
     * How many surfaces Scene::PromoteTextures gives the texture: 0, initially, to MaximumSurfaces. Saved.
     */
    int GetWantedSurfaces() const { return m_nWantedSurfaces; }
    /** Other numbers are refused (traced). */
    void SetWantedSurfaces(int nSurfaces);
    static constexpr int MaximumSurfaces = 2; ///< see SetWantedSurfaces

    /** A name for messages and files; empty until set. */
    StringEncoded<UTF16Encoding> const& GetName() const { return m_sName; }
    /** Gives the texture another name. */
    void SetName(StringEncoded<UTF16Encoding> const& sName) { m_sName = sName; }

protected:
    int m_nWidth = 0;                                     ///< see GetWidth
    int m_nHeight = 0;                                    ///< see GetHeight
    int m_nAllocatedWidth = 0;                            ///< see GetAllocatedWidth
    int m_nAllocatedHeight = 0;                           ///< see GetAllocatedHeight
    TextureFormat::Enum m_format = TextureFormat::RGB565; ///< see GetFormat
    PixelDataProperty m_pixelData;                        ///< see GetPixelData
    ListProperty<MipLevel> m_mipLevels;                   ///< see GetMipLevels
    unsigned int m_nByteSize = 0;                         ///< see GetByteSize

private:
    char16_t const* FindFault() const;
    void TakeImage(PixelBuffer& pixels, List<MipLevel>& levels);
    bool CopyToSurface();

    int m_nWantedSurfaces = 0;
    StringEncoded<UTF16Encoding> m_sName;
};

} // namespace trevik::kelvo
