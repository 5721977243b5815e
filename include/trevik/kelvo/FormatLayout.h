#pragma once

#include "trevik/kelvo/TextureFormat.h"

#include <climits>

namespace trevik::kelvo {

/** How a texture format lays an image out. */
struct FormatLayout {
    static constexpr int BlockSide = 4; ///< texels along a side of a compressed block

    int m_nBytesPerPixel; ///< 0 for compressed formats
    int m_nBytesPerBlock; ///< of 4 × 4 pixels; 0 for others
    int m_nPlanes;        ///< images per level; 0 for formats that no texture can have

    /** All zero when there is no such format. */
    static constexpr FormatLayout Get(int nFormat) {
        switch (nFormat) {
        case TextureFormat::RGB565:
        case TextureFormat::RGBA5551:
        case TextureFormat::RGBA4444:
        case TextureFormat::ARGB4444:
        case TextureFormat::Depth16:
        case TextureFormat::Single16:
            return {2, 0, 1};
        case TextureFormat::RGB888:
            return {3, 0, 1};
        case TextureFormat::RGBX8888:
        case TextureFormat::RGBA8888:
        case TextureFormat::BGRA8888:
        case TextureFormat::Depth24Stencil8:
            return {4, 0, 1};
        case TextureFormat::Alpha8:
            return {1, 0, 1};
        case TextureFormat::ATC_RGB:
        case TextureFormat::ETC1_RGB:
            return {0, 8, 1};
        case TextureFormat::ATC_RGBA:
            return {0, 16, 1};
        case TextureFormat::ETC1_Alpha:
            return {0, 8, 0};
        case TextureFormat::ETC1_RGBA:
            return {0, 8, 2};
        default:
            return {0, 0, 0};
        }
    }

    /** Bytes from row to row, from block row to block row of compressed formats; 0 for a width below 1. */
    constexpr unsigned long long GetRowSize(int nWidth) const {
        if (nWidth <= 0) {
            return 0;
        }
        return m_nBytesPerBlock != 0
                   ? CountBlocks(nWidth) * static_cast<unsigned int>(m_nBytesPerBlock)
                   : static_cast<unsigned long long>(nWidth) * static_cast<unsigned int>(m_nBytesPerPixel);
    }

    /** Bytes of one image; 0 for a side below 1 and for more than 2^31 - 1. */
    constexpr unsigned int GetImageSize(int nWidth, int nHeight) const {
        if (nHeight <= 0) {
            return 0;
        }
        unsigned long long const nRows =
            m_nBytesPerBlock != 0 ? CountBlocks(nHeight) : static_cast<unsigned long long>(nHeight);
        unsigned long long const nRowSize = GetRowSize(nWidth);
        return nRowSize <= INT_MAX / nRows ? static_cast<unsigned int>(nRowSize * nRows) : 0;
    }

private:
    static constexpr unsigned long long CountBlocks(int nSide) {
        return (static_cast<unsigned long long>(nSide) + BlockSide - 1) / BlockSide;
    }
};

} // namespace trevik::kelvo
