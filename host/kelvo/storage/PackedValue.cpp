#include "PackedValue.h"

#include <cstring>

namespace trevik::kelvo {

namespace {

// A word's distance from what was foretold is written as a number. Many words in a row are often exactly as
// foretold: a run of them is the number RunOfNone and one less than their count.
constexpr unsigned long long None = 0;
constexpr unsigned long long RunOfNone = 1;
constexpr unsigned long long LargestDistance = 0x100000000ull;

/** Small distances of either sign become small numbers. */
unsigned long long ToNumber(unsigned int nDistance) {
    unsigned int const nFolded = nDistance << 1 ^ (nDistance >> 31 != 0 ? 0xffffffffu : 0u);
    return nDistance == 0 ? None : nFolded + 1ull;
}

unsigned int ToDistance(unsigned long long nNumber) {
    unsigned int const nFolded = static_cast<unsigned int>(nNumber - 1);
    return nNumber == None ? 0 : nFolded >> 1 ^ ((nFolded & 1) != 0 ? 0xffffffffu : 0u);
}

/** What is foretold of a column's words: that they go on changing as they did. */
class Foretelling {
public:
    unsigned int Get() const { return m_nLast + m_nStep; }
    void Note(unsigned int nWord) {
        m_nStep = m_fStarted ? nWord - m_nLast : 0;
        m_nLast = nWord;
        m_fStarted = true;
    }

private:
    unsigned int m_nLast = 0;
    unsigned int m_nStep = 0;
    bool m_fStarted = false;
};

/** Calls `take` with each number that words come to; ends early, with false, when that answers false. */
template <class Take>
bool EachNumber(unsigned char const* pData, unsigned int nRows, unsigned int nColumns, Take take) {
    unsigned int nNones = 0;
    auto const endRun = [&nNones, &take] {
        bool const fTaken = nNones == 0   ? true
                            : nNones == 1 ? take(None)
                                          : take(RunOfNone) && take(nNones - 1ull);
        nNones = 0;
        return fTaken;
    };
    for (unsigned int nColumn = 0; nColumn < nColumns; ++nColumn) {
        Foretelling foretelling;
        for (unsigned int nRow = 0; nRow < nRows; ++nRow) {
            unsigned int const nWord =
                GetWord(pData + (static_cast<unsigned long>(nRow) * nColumns + nColumn) * 4);
            unsigned long long const nNumber = ToNumber(nWord - foretelling.Get());
            foretelling.Note(nWord);
            if (nNumber == None) {
                ++nNones;
            } else if (!endRun() || !take(nNumber)) {
                return false;
            }
        }
    }
    return endRun();
}

unsigned long CountBytes(unsigned long long nNumber) {
    unsigned long nBytes = 1;
    while (nNumber >= 0x80) {
        nNumber >>= 7;
        ++nBytes;
    }
    return nBytes;
}

/** How many bytes words come to in so many columns; `nLimit` or more when it is not less than that. */
unsigned long Measure(unsigned char const* pData, unsigned int nRows, unsigned int nColumns,
                      unsigned long nLimit) {
    unsigned long nBytes = 0;
    EachNumber(pData, nRows, nColumns, [&nBytes, nLimit](unsigned long long nNumber) {
        nBytes += CountBytes(nNumber);
        return nBytes < nLimit;
    });
    return nBytes;
}

bool AppendWords(List<unsigned char>& bytes, unsigned char const* pData, unsigned int nRows,
                 unsigned int nColumns) {
    return EachNumber(pData, nRows, nColumns,
                      [&bytes](unsigned long long nNumber) { return AppendNumber(bytes, nNumber); });
}

/** The number of columns in which the data takes fewest bytes, judged by its beginning; 0 when none saves
 * any. */
unsigned int FindColumns(unsigned char const* pData, unsigned int nLength) {
    constexpr unsigned int MostWords = 4 * 840; // whole rows for all numbers of columns
    unsigned int const nWords = nLength % 4 == 0 ? nLength / 4 : 0;
    unsigned int const nJudged = nWords < MostWords ? nWords : MostWords;
    unsigned int nBest = 0;
    unsigned long nFewest = nJudged * 4ul;
    for (unsigned int nColumns = 1; nColumns <= PackedValue::MaximumColumns; ++nColumns) {
        if (nWords == 0 || nWords % nColumns != 0) {
            continue;
        }
        unsigned long const nBytes = Measure(pData, nJudged / nColumns, nColumns, nFewest);
        if (nBytes < nFewest) {
            nFewest = nBytes;
            nBest = nColumns;
        }
    }
    return nBest;
}

/** Whether of all units of 16 bits the upper halves are 0. */
bool AreUnitsShort(unsigned char const* pData, unsigned int nLength) {
    bool fShort = nLength % 2 == 0;
    for (unsigned int n = 1; n < nLength && fShort; n += 2) {
        fShort = pData[n] == 0;
    }
    return fShort;
}

bool SkipWords(PackedBytes& packed, unsigned int nWords) {
    PackedBytes bytes = packed; // a copy stays in registers
    while (nWords > 0) {
        unsigned long long nNumber = 0;
        unsigned int nMore = 0;
        if (!bytes.ReadNumber(LargestDistance, nNumber) ||
            (nNumber == RunOfNone && !bytes.ReadNumber(nWords - 1, nMore))) {
            return false;
        }
        nWords -= 1 + nMore;
    }
    packed = bytes;
    return true;
}

/** The next number of data that has been looked through: it ends before the data does. */
unsigned long long TakeNumber(unsigned char const*& pAt) {
    unsigned long long nNumber = *pAt & 0x7f;
    for (unsigned int nShift = 7; *pAt++ >= 0x80; nShift += 7) {
        nNumber |= static_cast<unsigned long long>(*pAt & 0x7f) << nShift;
    }
    return nNumber;
}

void ReadWords(PackedBytes& bytes, unsigned char* pData, unsigned int nRows, unsigned int nColumns) {
    unsigned char const* pAt = bytes.GetPosition();
    unsigned int nNones = 0;
    for (unsigned int nColumn = 0; nColumn < nColumns; ++nColumn) {
        Foretelling foretelling;
        unsigned char* pWord = pData + nColumn * 4ul;
        for (unsigned int nRow = 0; nRow < nRows; ++nRow, pWord += nColumns * 4ul) {
            unsigned long long nNumber = None;
            if (nNones > 0) {
                --nNones;
            } else {
                nNumber = TakeNumber(pAt);
            }
            if (nNumber == RunOfNone) {
                nNones = static_cast<unsigned int>(TakeNumber(pAt));
                nNumber = None;
            }
            unsigned int const nWord = foretelling.Get() + ToDistance(nNumber);
            foretelling.Note(nWord);
            PutWord(pWord, nWord);
        }
    }
    bytes.Skip(static_cast<unsigned long>(pAt - bytes.GetPosition()));
}

} // namespace

bool PackedValue::Write(List<unsigned char>& bytes, unsigned char const* pData, unsigned int nLength) {
    unsigned int const nStart = bytes.GetCount();
    if (unsigned int const nColumns = FindColumns(pData, nLength)) {
        unsigned int const nRows = nLength / 4 / nColumns;
        if (!bytes.Append(static_cast<unsigned char>(nColumns)) ||
            !AppendWords(bytes, pData, nRows, nColumns)) {
            return false;
        }
        if (bytes.GetCount() - nStart <= nLength) {
            return true;
        }
        bytes.Resize(nStart); // it was only the beginning that promised something
    }
    if (nLength > 0 && AreUnitsShort(pData, nLength)) {
        bool fWritten = bytes.Append(static_cast<unsigned char>(ShortUnits));
        for (unsigned int n = 0; n < nLength; n += 2) {
            fWritten = fWritten && bytes.Append(pData[n]);
        }
        return fWritten;
    }
    return bytes.Append(0) && AppendBytes(bytes, pData, nLength);
}

bool PackedValue::Skip(PackedBytes& bytes, unsigned int nLength) {
    unsigned int nWay = 0;
    if (!bytes.ReadNumber(static_cast<unsigned int>(ShortUnits), nWay)) {
        return false;
    }
    if (nWay == 0) {
        return bytes.Skip(nLength);
    }
    if (nWay != ShortUnits) {
        return nLength % (4 * nWay) == 0 && SkipWords(bytes, nLength / 4);
    }
    return nLength % 2 == 0 && bytes.Skip(nLength / 2);
}

void PackedValue::Read(PackedBytes& bytes, unsigned char* pData, unsigned int nLength) {
    unsigned int nWay = 0;
    bytes.ReadNumber(static_cast<unsigned int>(ShortUnits), nWay);
    if (nWay == 0) {
        if (nLength > 0) {
            std::memcpy(pData, bytes.GetPosition(), nLength);
            bytes.Skip(nLength);
        }
    } else if (nWay != ShortUnits) {
        ReadWords(bytes, pData, nLength / 4 / nWay, nWay);
    } else {
        for (unsigned int n = 0; n < nLength / 2; ++n) {
            *pData++ = bytes.GetPosition()[n];
            *pData++ = 0;
        }
        bytes.Skip(nLength / 2);
    }
}

} // namespace trevik::kelvo
