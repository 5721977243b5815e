#pragma once

#include "trevik/List.h"

namespace trevik::kelvo {

/** A list of bytes in which each piece that is entered stands once. Pieces are numbered from 0 on. */
class UniquePieces {
public:
    /** Everything so far; what is appended is no piece until it is entered. */
    List<unsigned char>& GetBytes() { return m_bytes; }
    List<unsigned char> const& GetBytes() const { return m_bytes; }
    unsigned int GetCount() const { return m_pieces.GetCount(); }

    /**
     * Makes a piece of the bytes from `nStart` to the end, and says which; where the same piece has been
     * entered before, it is that one, and the bytes are taken off again. False without memory.
     */
    bool Enter(unsigned int nStart, unsigned int& nPiece);

private:
    struct Piece {
        unsigned int m_nStart;
        unsigned int m_nLength;
        unsigned int m_nHash;
    };
    static constexpr unsigned int Free = 0xffffffffu;

    bool IsSame(Piece const& a, Piece const& b) const;
    unsigned int FindSlot(Piece const& piece) const;
    bool Grow();

    List<unsigned char> m_bytes;
    List<Piece> m_pieces;
    List<unsigned int>
        m_slots; ///< numbers of pieces by their hash, or Free; a power of two, half of them free
};

} // namespace trevik::kelvo
