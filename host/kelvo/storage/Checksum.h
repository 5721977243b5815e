#pragma once

namespace trevik::kelvo {

/** The CRC-32 that ZIP and PNG use. */
unsigned int GetChecksum(unsigned char const* pData, unsigned long nLength);

} // namespace trevik::kelvo
