#include "UniquePieces.h"

#include <cstring>

namespace trevik::kelvo {

namespace {

unsigned int Hash(unsigned char const* pData, unsigned int nLength) {
    unsigned int nHash = 0x811c9dc5u; // FNV-1a
    for (unsigned int n = 0; n < nLength; ++n) {
        nHash = (nHash ^ pData[n]) * 0x01000193u;
    }
    return nHash;
}

} // namespace

bool UniquePieces::Enter(unsigned int nStart, unsigned int& nPiece) {
    if (2 * m_pieces.GetCount() >= m_slots.GetCount() && !Grow()) {
        return false;
    }
    unsigned int const nLength = m_bytes.GetCount() - nStart;
    Piece const piece = {nStart, nLength, Hash(m_bytes.GetData() + nStart, nLength)};
    unsigned int& nSlot = m_slots[FindSlot(piece)];
    if (nSlot != Free) {
        m_bytes.Resize(nStart);
    } else if (m_pieces.Append(piece)) {
        nSlot = m_pieces.GetCount() - 1;
    } else {
        return false;
    }
    nPiece = nSlot;
    return true;
}

bool UniquePieces::IsSame(Piece const& a, Piece const& b) const {
    return a.m_nHash == b.m_nHash && a.m_nLength == b.m_nLength &&
           std::memcmp(m_bytes.GetData() + a.m_nStart, m_bytes.GetData() + b.m_nStart, a.m_nLength) == 0;
}

/** The slot of the same piece, or the free one where it belongs. */
unsigned int UniquePieces::FindSlot(Piece const& piece) const {
    unsigned int const nMask = m_slots.GetCount() - 1;
    unsigned int nSlot = piece.m_nHash & nMask;
    while (m_slots[nSlot] != Free && !IsSame(m_pieces[m_slots[nSlot]], piece)) {
        nSlot = (nSlot + 1) & nMask;
    }
    return nSlot;
}

bool UniquePieces::Grow() {
    List<unsigned int> slots;
    if (m_slots.GetCount() >= 0x80000000u ||
        !slots.Resize(m_slots.IsEmpty() ? 64 : 2 * m_slots.GetCount(), Free)) {
        return false;
    }
    m_slots.Swap(slots);
    for (unsigned int nPiece = 0; nPiece < m_pieces.GetCount(); ++nPiece) {
        m_slots[FindSlot(m_pieces[nPiece])] = nPiece;
    }
    return true;
}

} // namespace trevik::kelvo
