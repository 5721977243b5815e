#include "TextGroups.h"

#include <cstdint>

namespace trevik::kelvo {

namespace {

constexpr unsigned int SmallestTable = 16;

} // namespace

void TextGroups::Clear() {
    m_groups.Clear();
    m_table.Clear();
}

/** Has the group, which is added when it is not there yet, taken for the last one. */
bool TextGroups::FindGroup(Texture const* pTexture, bool fImage) {
    if (2 * (m_groups.GetCount() + 1) > m_table.GetCount() && !GrowTable()) {
        return false;
    }
    unsigned int const nPlace = FindPlace(pTexture, fImage);
    if (m_table[nPlace] == 0) {
        if (!m_groups.Append(Group{pTexture, fImage, 0, 0})) {
            return false;
        }
        m_table[nPlace] = m_groups.GetCount();
    }
    m_nLast = m_table[nPlace] - 1;
    return true;
}

unsigned int TextGroups::FindPlace(Texture const* pTexture, bool fImage) const {
    // The lowest bits of an address are the same for all, the highest ones, too: the middle ones are spread.
    std::uint64_t const nKey = (reinterpret_cast<std::uintptr_t>(pTexture) >> 3) ^ (fImage ? 1u : 0u);
    unsigned int const nMask = m_table.GetCount() - 1;
    unsigned int nPlace = static_cast<unsigned int>((nKey * 0x9e3779b97f4a7c15u) >> 32) & nMask;
    while (m_table[nPlace] != 0 && !IsSame(m_groups[m_table[nPlace] - 1], pTexture, fImage)) {
        nPlace = (nPlace + 1) & nMask;
    }
    return nPlace;
}

bool TextGroups::GrowTable() {
    unsigned int const nSize = m_table.IsEmpty() ? SmallestTable : 2 * m_table.GetCount();
    if (!m_table.Resize(nSize)) {
        return false;
    }
    for (unsigned int& nEntry : m_table) {
        nEntry = 0;
    }
    for (unsigned int nGroup = 0; nGroup < m_groups.GetCount(); ++nGroup) {
        m_table[FindPlace(m_groups[nGroup].m_pTexture, m_groups[nGroup].m_fImage)] = nGroup + 1;
    }
    return true;
}

unsigned int TextGroups::GetByteSize() const {
    return m_groups.GetCapacity() * static_cast<unsigned int>(sizeof(Group)) +
           m_table.GetCapacity() * static_cast<unsigned int>(sizeof(unsigned int));
}

} // namespace trevik::kelvo
