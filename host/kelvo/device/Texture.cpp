#include "trevik/kelvo/Texture.h"

#include "kelvo/storage/NodeStorage.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

#include <climits>
#include <cstring>

namespace trevik::kelvo {

namespace {

/** Whether the level's size and place fit its format and the data. */
bool IsLevelValid(MipLevel const& level, int nFormat, unsigned int nSize) {
    unsigned int const nNeeded = Texture::GetImageSize(level.m_nWidth, level.m_nHeight, nFormat);
    if (nNeeded == 0 || level.m_nOffset < 0 || level.m_nSize < 0 ||
        static_cast<unsigned int>(level.m_nSize) < nNeeded) {
        return false;
    }
    unsigned long long const nPlanes = static_cast<unsigned int>(FormatLayout::Get(nFormat).m_nPlanes);
    return static_cast<unsigned int>(level.m_nOffset) + nPlanes * static_cast<unsigned int>(level.m_nSize) <=
           nSize;
}

/**
 * Whether the levels fit, halve from the whole texture's size, and are those of a format that textures have.
 */
bool AreLevelsValid(List<MipLevel> const& levels, int nWidth, int nHeight, int nFormat, unsigned int nSize) {
    for (MipLevel const& level : levels) {
        if (level.m_nWidth != nWidth || level.m_nHeight != nHeight || !IsLevelValid(level, nFormat, nSize)) {
            return false;
        }
        bool const fSmallest = nWidth == 1 && nHeight == 1; // no level comes after it: none has sides of 0
        nWidth = nWidth > 1 || fSmallest ? nWidth / 2 : 1;
        nHeight = nHeight > 1 || fSmallest ? nHeight / 2 : 1;
    }
    return !levels.IsEmpty() && FormatLayout::Get(nFormat).m_nPlanes != 0;
}

/** Sizes of an image: of the part that is used, and of the whole. */
struct ImageSizes {
    int m_nUsedWidth;
    int m_nUsedHeight;
    int m_nWidth;
    int m_nHeight;
};

/** Why an image of `nSize` bytes cannot be a texture's; null when it can. */
char16_t const* FindImageFault(ImageSizes const& sizes, int nFormat, List<MipLevel> const& levels,
                               unsigned int nSize) {
    static_assert(Texture::MaximumSide == 16384, "the text names it");
    if (sizes.m_nWidth > Texture::MaximumSide || sizes.m_nHeight > Texture::MaximumSide) {
        return u"a side is longer than 16384 texels";
    }
    bool const fWithin = sizes.m_nUsedWidth > 0 && sizes.m_nUsedHeight > 0 &&
                         sizes.m_nUsedWidth <= sizes.m_nWidth && sizes.m_nUsedHeight <= sizes.m_nHeight;
    return fWithin && AreLevelsValid(levels, sizes.m_nWidth, sizes.m_nHeight, nFormat, nSize)
               ? nullptr
               : u"sizes, levels and pixels do not agree";
}

/** Copies rows that are `nSourceStride` bytes apart to rows that are `nTargetStride` bytes apart. */
void CopyRows(unsigned char const* pSource, long nSourceStride, unsigned char* pTarget, long nTargetStride,
              unsigned long nRowLength, int nRows) {
    for (int nRow = 0; nRow < nRows; ++nRow) {
        std::memcpy(pTarget + nRow * nTargetStride, pSource + nRow * nSourceStride, nRowLength);
    }
}

Ref<Texture> CreateObject() {
    ClassRegistry* const pRegistry = ClassRegistry::GetDefault();
    return Ref(pRegistry ? static_cast<Texture*>(pRegistry->Create(HashName("Texture"))) : nullptr);
}

// Attributes of a texture in a document.
constexpr unsigned int NameID = HashName("TextureName");
constexpr unsigned int ShapeID = HashName("Shape");
constexpr unsigned int LevelsID = HashName("MipLevels");
constexpr unsigned int SurfacesID = HashName("Surfaces"); // absent: none

/** Attribute "Shape". */
struct SavedShape {
    int m_nWidth;
    int m_nHeight;
    int m_nAllocatedWidth;
    int m_nAllocatedHeight;
    int m_nFormat;
};

} // namespace

Texture::Texture() = default;

Texture::~Texture() = default;

int Texture::GetBytesPerPixel() const {
    return GetBytesPerPixel(m_format);
}

bool Texture::IsCompressed() const {
    return FormatLayout::Get(m_format).m_nBytesPerBlock != 0;
}

int Texture::GetStride() {
    return static_cast<int>(GetRowSize(m_nAllocatedWidth, m_format));
}

void Texture::SetUsedSize(int nWidth, int nHeight) {
    if (nWidth <= 0 || nHeight <= 0 || nWidth > m_nAllocatedWidth || nHeight > m_nAllocatedHeight) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] A texture of %d by %d cannot hold an image of %d by %d",
                           m_nAllocatedWidth, m_nAllocatedHeight, nWidth, nHeight);
        return;
    }
    m_nWidth = nWidth;
    m_nHeight = nHeight;
}

bool Texture::Replace(int nWidth, int nHeight, TextureFormat::Enum format, void const* pData, int nStride) {
    FormatLayout const layout = FormatLayout::Get(format);
    unsigned long long const nPlane = GetImageSize(nWidth, nHeight, format);
    unsigned long long const nSize = nPlane * static_cast<unsigned int>(layout.m_nPlanes);
    long long const nRowLength = static_cast<long long>(nWidth) * layout.m_nBytesPerPixel;
    long long const nSourceStride = nStride == 0 ? nRowLength : nStride;
    PixelBuffer pixels;
    List<MipLevel> levels;
    MipLevel level;
    level.m_nWidth = nWidth;
    level.m_nHeight = nHeight;
    level.m_nSize = static_cast<int>(nPlane);
    bool const fOverlap = nSourceStride < nRowLength && layout.m_nBytesPerBlock == 0;
    if (nSize == 0 || nSize > INT_MAX || nWidth > MaximumSide || nHeight > MaximumSide || fOverlap ||
        !levels.Append(level) || !pixels.Allocate(static_cast<unsigned int>(nSize))) {
        return false;
    }
    if (pData && layout.m_nBytesPerBlock != 0) {
        std::memcpy(pixels.GetData(), pData, static_cast<std::size_t>(nSize));
    } else if (pData) {
        CopyRows(static_cast<unsigned char const*>(pData), static_cast<long>(nSourceStride), pixels.GetData(),
                 static_cast<long>(GetRowSize(nWidth, format)), static_cast<unsigned long>(nRowLength),
                 nHeight);
    }
    SetSize(nWidth, nHeight);
    m_format = format;
    TakeImage(pixels, levels);
    return true;
}

bool Texture::SetImage(int nUsedWidth, int nUsedHeight, int nAllocatedWidth, int nAllocatedHeight,
                       TextureFormat::Enum format, List<MipLevel> const& levels, unsigned char const* pData,
                       unsigned int nSize, bool fBorrow) {
    ImageSizes const sizes = {nUsedWidth, nUsedHeight, nAllocatedWidth, nAllocatedHeight};
    List<MipLevel> copiedLevels;
    PixelBuffer pixels;
    if (!pData || FindImageFault(sizes, format, levels, nSize) || !copiedLevels.Assign(levels) ||
        (!fBorrow && !pixels.Allocate(nSize))) {
        return false;
    }
    if (fBorrow) {
        pixels.Borrow(pData, nSize);
    } else {
        std::memcpy(pixels.GetData(), pData, nSize);
    }
    SetSize(nAllocatedWidth, nAllocatedHeight);
    m_nWidth = nUsedWidth;
    m_nHeight = nUsedHeight;
    m_format = format;
    TakeImage(pixels, copiedLevels);
    return true;
}

/** Takes over pixels and levels that have been found to fit, and announces them. Needs no memory. */
void Texture::TakeImage(PixelBuffer& pixels, List<MipLevel>& levels) {
    m_nByteSize = pixels.GetSize();
    m_pixelData.GetBuffer().Swap(pixels);
    m_mipLevels.GetWritableValue().Swap(levels);
    m_mipLevels.Notify(true);
    m_pixelData.Notify();
}

/** Why size, levels and pixels, each of which can be set alone, do not fit together; null when they do. */
char16_t const* Texture::FindFault() const {
    return FindImageFault({m_nWidth, m_nHeight, m_nAllocatedWidth, m_nAllocatedHeight}, m_format,
                          m_mipLevels.GetValue(), m_pixelData.GetBuffer().GetSize());
}

Ref<Texture> Texture::CreateTexture(int nWidth, int nHeight, int nFormat, void const* pData, int nStride) {
    Ref<Texture> pTexture = CreateObject();
    if (pTexture &&
        !pTexture->Replace(nWidth, nHeight, static_cast<TextureFormat::Enum>(nFormat), pData, nStride)) {
        pTexture.Reset();
    }
    return pTexture;
}

Ref<Texture> Texture::CreateCopy() const {
    PixelBuffer const& pixels = m_pixelData.GetBuffer();
    Ref<Texture> pCopy = CreateObject();
    if (pCopy && !pCopy->SetImage(m_nWidth, m_nHeight, m_nAllocatedWidth, m_nAllocatedHeight, m_format,
                                  m_mipLevels.GetValue(), pixels.GetData(), pixels.GetSize(), false)) {
        pCopy.Reset();
    }
    if (pCopy) {
        pCopy->SetName(m_sName);
    }
    return pCopy;
}

void Texture::SetWantedSurfaces(int nSurfaces) {
    if (nSurfaces < 0 || nSurfaces > MaximumSurfaces) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] A texture cannot have %d surfaces", nSurfaces);
        return;
    }
    m_nWantedSurfaces = nSurfaces;
}

bool Texture::PromoteToSurface() {
    return PromoteWithImage(false);
}

bool Texture::PromoteWithImage(bool fDoubleBuffered) {
    if (FindFault() || IsCompressed() || Count() != 0 || !Promote(fDoubleBuffered) || !CopyToSurface()) {
        return false;
    }
    Swap();
    return !fDoubleBuffered || CopyToSurface();
}

/**
 * Writes the image into the surface that producers write next, whose first row in memory is drawn at the
 * bottom.
 */
bool Texture::CopyToSurface() {
    SurfaceInfo info;
    void* const pTarget = Lock();
    bool const fFits = pTarget && GetSurfaceInfo(&info) &&
                       GetBytesPerPixel(info.m_nFormat) == GetBytesPerPixel() &&
                       info.m_nWidth <= m_nAllocatedWidth && info.m_nHeight <= m_nAllocatedHeight;
    if (fFits) {
        long const nStride = static_cast<long>(GetRowSize(m_nAllocatedWidth, m_format));
        unsigned char const* const pImage =
            m_pixelData.GetBuffer().GetData() + m_mipLevels.GetValue()[0].m_nOffset;
        CopyRows(pImage + (info.m_nHeight - 1) * nStride, -nStride, static_cast<unsigned char*>(pTarget),
                 info.m_nStride,
                 static_cast<unsigned long>(info.m_nWidth) * static_cast<unsigned int>(GetBytesPerPixel()),
                 info.m_nHeight);
    }
    Unlock(); // whether there were pixels or not
    return fFits;
}

bool Texture::Save(Serializer& serializer) {
    PixelBuffer const& pixels = m_pixelData.GetBuffer();
    if (char16_t const* const pFault = pixels.GetData() ? FindFault() : u"its pixels have been dropped") {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] Texture \"%s\" cannot be saved: %s",
                           m_sName.GetData(), pFault);
        return false;
    }
    SavedShape const shape = {m_nWidth, m_nHeight, m_nAllocatedWidth, m_nAllocatedHeight, int(m_format)};
    List<MipLevel> const& levels = m_mipLevels.GetValue();
    return SaveText(serializer, NameID, m_sName) && serializer.WriteValue(ShapeID, shape) &&
           serializer.WriteAttribute(LevelsID, reinterpret_cast<unsigned char const*>(levels.GetData()),
                                     levels.GetCount() * sizeof(MipLevel)) &&
           (m_nWantedSurfaces == 0 || serializer.WriteValue(SurfacesID, m_nWantedSurfaces)) &&
           m_pixelData.Save(serializer);
}

bool Texture::Load(Deserializer& deserializer) {
    SavedShape shape;
    List<MipLevel> levels;
    unsigned char const* pLevels = nullptr;
    unsigned char const* pPixels = nullptr;
    unsigned long nLevelsLength = 0;
    unsigned long nPixelsLength = 0;
    StringEncoded<UTF16Encoding> sName;
    unsigned char const* pSurfaces = nullptr;
    unsigned long nSurfacesLength = 0;
    int nSurfaces = 0;
    if (!deserializer.ReadValue(ShapeID, shape) ||
        !deserializer.FindAttribute(LevelsID, pLevels, nLevelsLength) ||
        !deserializer.FindAttribute(DocumentID::Value, pPixels, nPixelsLength) ||
        !LoadText(deserializer, NameID, sName) || !detail::ReadElements(levels, pLevels, nLevelsLength)) {
        return deserializer.Fail(u"a texture lacks its shape, levels or pixels");
    }
    if (deserializer.FindAttribute(SurfacesID, pSurfaces, nSurfacesLength) &&
        (!deserializer.ReadValue(SurfacesID, nSurfaces) || nSurfaces < 1 || nSurfaces > MaximumSurfaces)) {
        return deserializer.Fail(u"texture \"%s\" asks for surfaces, but not for one or two",
                                 sName.GetData());
    }
    // An attribute's length has 28 bits.
    unsigned int const nPixels = static_cast<unsigned int>(nPixelsLength);
    ImageSizes const sizes = {shape.m_nWidth, shape.m_nHeight, shape.m_nAllocatedWidth,
                              shape.m_nAllocatedHeight};
    if (char16_t const* const pFault = FindImageFault(sizes, shape.m_nFormat, levels, nPixels)) {
        return deserializer.Fail(u"texture \"%s\" of %d by %d texels: %s", sName.GetData(),
                                 shape.m_nAllocatedWidth, shape.m_nAllocatedHeight, pFault);
    }
    if (!SetImage(shape.m_nWidth, shape.m_nHeight, shape.m_nAllocatedWidth, shape.m_nAllocatedHeight,
                  static_cast<TextureFormat::Enum>(shape.m_nFormat), levels, pPixels, nPixels, false)) {
        return deserializer.Fail(u"texture \"%s\": memory is short", sName.GetData());
    }
    m_sName = sName;
    m_nWantedSurfaces = nSurfaces;
    return true;
}

void Texture::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(sizeof(*this), MemoryType::Object);
    m_pixelData.Emit(pTracer);
    pTracer->EmitAllocation(m_mipLevels.GetValue().GetCount() * static_cast<unsigned int>(sizeof(MipLevel)),
                            MemoryType::Texture);
}

} // namespace trevik::kelvo
