#pragma once

namespace trevik::kelvo {

/** Where one level of a texture lies in its pixel data. */
struct MipLevel {
    int m_nWidth = 0;  ///< texels
    int m_nHeight = 0; ///< texels
    int m_nOffset = 0; ///< bytes from the start of the pixel data
    int m_nSize = 0;   ///< bytes (of the colour image alone for TextureFormat::ETC1_RGBA)

    bool operator==(MipLevel const& other) const {
        return m_nWidth == other.m_nWidth && m_nHeight == other.m_nHeight && m_nOffset == other.m_nOffset &&
               m_nSize == other.m_nSize;
    }
};

} // namespace trevik::kelvo
