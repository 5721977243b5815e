#pragma once

#include "trevik/List.h"

namespace trevik::kelvo {

class Texture;

/**
 * The groups of a text's glyphs that can be drawn together, in the order of their first glyphs. Keeps its
 * storage when it is cleared.
 */
class TextGroups {
public:
    struct Group {
        Texture const* m_pTexture; ///< null for glyphs that are meshes
        bool m_fImage;             ///< of image glyphs
        unsigned int m_nCount;     ///< glyphs in the group
        unsigned int m_nNext;      ///< free for its user, 0 at first
    };

    void Clear();
    /**
     * Counts a glyph in its group and tells that group's index. Takes constant time. False when out of
     * memory.
     */
    bool Add(Texture const* pTexture, bool fImage, unsigned int& nGroup) {
        if ((m_nLast >= m_groups.GetCount() || !IsSame(m_groups[m_nLast], pTexture, fImage)) &&
            !FindGroup(pTexture, fImage)) {
            return false;
        }
        nGroup = m_nLast;
        ++m_groups[nGroup].m_nCount;
        return true;
    }

    unsigned int GetCount() const { return m_groups.GetCount(); }
    Group& operator[](unsigned int nGroup) { return m_groups[nGroup]; }
    unsigned int GetByteSize() const;

private:
    static bool IsSame(Group const& group, Texture const* pTexture, bool fImage) {
        return group.m_pTexture == pTexture && group.m_fImage == fImage;
    }
    bool FindGroup(Texture const* pTexture, bool fImage);
    /** The place of a group in the table, or a free one when the group is not there. */
    unsigned int FindPlace(Texture const* pTexture, bool fImage) const;
    bool GrowTable();

    List<Group> m_groups;
    List<unsigned int> m_table; ///< hash table of indices + 1, half empty at least; 0 where free
    unsigned int m_nLast = 0;   ///< the group of the last glyph: mostly the next one's, too
};

} // namespace trevik::kelvo
