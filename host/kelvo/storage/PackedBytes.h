#pragma once

#include "trevik/List.h"

namespace trevik::kelvo {

/** Lowest byte first, at any alignment. */
inline unsigned int GetWord(unsigned char const* pData) {
    return pData[0] | static_cast<unsigned int>(pData[1]) << 8 | static_cast<unsigned int>(pData[2]) << 16 |
           static_cast<unsigned int>(pData[3]) << 24;
}

inline void PutWord(unsigned char* pData, unsigned int nWord) {
    for (int i = 0; i < 4; ++i) {
        pData[i] = static_cast<unsigned char>(nWord >> (8 * i));
    }
}

inline bool AppendWord(List<unsigned char>& bytes, unsigned int nWord) {
    bool fAppended = true;
    for (int i = 0; i < 4; ++i) {
        fAppended = fAppended && bytes.Append(static_cast<unsigned char>(nWord >> (8 * i)));
    }
    return fAppended;
}

/** Appends a number in as few bytes as it needs: seven bits each, the lowest first, 128 added to all but the
 * last. */
inline bool AppendNumber(List<unsigned char>& bytes, unsigned long long nNumber) {
    while (nNumber >= 0x80) {
        if (!bytes.Append(static_cast<unsigned char>(nNumber | 0x80))) {
            return false;
        }
        nNumber >>= 7;
    }
    return bytes.Append(static_cast<unsigned char>(nNumber));
}

bool AppendBytes(List<unsigned char>& bytes, unsigned char const* pData, unsigned long nLength);

/** Walks through bytes; never reads past their end. */
class PackedBytes {
public:
    PackedBytes(unsigned char const* pData, unsigned long nLength) : m_pAt(pData), m_pEnd(pData + nLength) {}

    unsigned char const* GetPosition() const { return m_pAt; }
    unsigned long GetLeft() const { return static_cast<unsigned long>(m_pEnd - m_pAt); }

    /** Moves on; false, without moving, when fewer bytes are left. */
    bool Skip(unsigned long nLength) {
        bool const fLeft = nLength <= GetLeft();
        m_pAt += fLeft ? nLength : 0;
        return fLeft;
    }

    /** What AppendNumber wrote, up to `nMaximum`; false when it is larger, or when the bytes end before it
     * does. */
    bool ReadNumber(unsigned long long nMaximum, unsigned long long& nNumber) {
        if (GetLeft() >= 2 && (m_pAt[0] < 0x80 || m_pAt[1] < 0x80)) { // most numbers
            unsigned int const nLow = m_pAt[0];
            bool const fLonger = nLow >= 0x80;
            nNumber = fLonger ? nLow - 0x80 + 0x80ull * m_pAt[1] : nLow;
            m_pAt += fLonger ? 2 : 1;
            return nNumber <= nMaximum;
        }
        return ReadLongNumber(nMaximum, nNumber);
    }

    /** The same in 32 bits. */
    bool ReadNumber(unsigned int nMaximum, unsigned int& nNumber) {
        unsigned long long nLong = 0;
        bool const fRead = ReadNumber(static_cast<unsigned long long>(nMaximum), nLong);
        nNumber = static_cast<unsigned int>(nLong);
        return fRead;
    }

private:
    bool ReadLongNumber(unsigned long long nMaximum, unsigned long long& nNumber);

    unsigned char const* m_pAt;
    unsigned char const* m_pEnd;
};

} // namespace trevik::kelvo
