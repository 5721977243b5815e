#pragma once

#include "scene/JsonCursor.h"
#include "scene/SceneNotes.h"
#include "trevik/kelvo/Timeline.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Where the nodes and effects of a scene stand in its file, in the order of the tree and with little memory:
 * most scenes are played without anybody asking. The file's values are not needed once this is known.
 */
class SceneIndex {
public:
    /** Takes from `file` where it describes each node and effect of what has been built from it. */
    SceneIndex(JsonCursor const& file, Timeline& root);

    /** Puts together what there is to know of all of them. */
    SceneOrigins MakeOrigins() const;

private:
    /** A node or an effect. */
    struct Entry {
        Referenced const* pObject;
        char const* pKey;    ///< that it stands under in the one above; null for the root
        unsigned int nAbove; ///< the entry of that one; its own for the root
        unsigned int nItem;  ///< of the array there; NoItem for none
        unsigned int nLine;
        unsigned int nFile; ///< and the others: in the lists below
        unsigned int nUse;
        unsigned int nClassName;
        std::string name;
    };
    static constexpr unsigned int NoItem = ~0u;
    /** Texts, each of them once. */
    class Texts {
    public:
        unsigned int Add(std::string const& text);
        std::string const& Get(unsigned int nText) const { return *m_texts[nText]; }

    private:
        std::unordered_map<std::string, unsigned int> m_numbers;
        std::vector<std::string const*> m_texts; ///< those of m_numbers
    };
    class Collector;

    std::string GetWay(Entry const& entry) const;

    std::vector<Entry> m_entries;
    Texts m_texts;
};

} // namespace trevik::kelvo::assets
