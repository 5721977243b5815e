#pragma once

namespace trevik::kelvo {

/** What a producer must know to write into a promoted texture's surface. */
struct SurfaceInfo {
    int m_nWidth;  ///< pixels
    int m_nHeight; ///< pixels
    int m_nStride; ///< bytes per row
    int m_nFormat; ///< TextureFormat::Enum
};

} // namespace trevik::kelvo
