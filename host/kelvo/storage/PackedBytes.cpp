#include "PackedBytes.h"

#include <cstring>

namespace trevik::kelvo {

bool AppendBytes(List<unsigned char>& bytes, unsigned char const* pData, unsigned long nLength) {
    unsigned int const nCount = bytes.GetCount();
    if (nLength > 0xffffffffu - nCount) {
        return false;
    }
    unsigned int const nNeeded = nCount + static_cast<unsigned int>(nLength);
    if (nNeeded > bytes.GetCapacity()) {
        unsigned int const nDoubled = nCount < 0x80000000u ? nCount * 2 : 0xffffffffu;
        if (!bytes.Reserve(nNeeded > nDoubled ? nNeeded : nDoubled)) {
            return false;
        }
    }
    if (nLength > 0) {
        bytes.Resize(nNeeded);
        std::memcpy(bytes.GetData() + nCount, pData, nLength);
    }
    return true;
}

bool PackedBytes::ReadLongNumber(unsigned long long nMaximum, unsigned long long& nNumber) {
    unsigned long long nRead = 0;
    for (unsigned int nShift = 0; m_pAt != m_pEnd && nShift < 63; nShift += 7) {
        unsigned char const nByte = *m_pAt++;
        nRead |= static_cast<unsigned long long>(nByte & 0x7f) << nShift;
        if (nByte < 0x80) {
            nNumber = nRead;
            return nRead <= nMaximum;
        }
    }
    return false;
}

} // namespace trevik::kelvo
