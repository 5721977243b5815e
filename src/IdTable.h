#pragma once

#include "trevik/List.h"
#include "trevik/Ref.h"

#include <utility>

namespace trevik::kelvo {

/**
 * Shared objects under ids, in the order in which they came: a short table that is searched from the front.
 * The ids have a list of their own, so that a search reads nothing else. The table holds a reference to each
 * object until ReleaseAll.
 */
template <class Id, class T>
class IdTable {
public:
    IdTable() = default;
    /**
     * Frees the table alone and keeps the references: objects have to be released on the render thread, while
     * there is a context, by ReleaseAll.
     */
    ~IdTable() {
        for (Ref<T>& pObject : m_objects) {
            static_cast<void>(pObject.Detach());
        }
    }
    IdTable(IdTable const&) = delete;
    IdTable& operator=(IdTable const&) = delete;

    /** The object of the first entry with this id, borrowed; null when there is none. */
    T* Find(Id id) const {
        int const nIndex = m_ids.IndexOf(id);
        return nIndex < 0 ? nullptr : m_objects[static_cast<unsigned int>(nIndex)].Get();
    }

    /** Whether some entry has this object. */
    bool Holds(T const* pObject) const { return m_objects.IndexOf(pObject) >= 0; }

    /**
     * Adds a reference to the object, then an entry at the end.
     * @return the entry's index; -1, with the reference kept all the same, when the table cannot grow.
     */
    int Add(Id id, T* pObject) {
        Ref<T> pKept(pObject);
        if (m_objects.GetCount() == m_objects.GetCapacity() && !Grow()) {
            static_cast<void>(pKept.Detach());
            return -1;
        }
        m_ids.Append(id);
        m_objects.Append(std::move(pKept));
        return static_cast<int>(m_ids.GetCount()) - 1;
    }

    /** Releases each object's reference, in order, and leaves the table empty with its storage kept. */
    void ReleaseAll() {
        // By index: the destructor of an object may look into the table, and add to it.
        for (unsigned int i = 0; i < m_objects.GetCount(); ++i) {
            m_objects[i].Reset();
        }
        m_ids.Clear();
        m_objects.Clear();
    }

private:
    enum : unsigned int { Step = 8 };

    bool Grow() {
        unsigned int const nCapacity = m_objects.GetCount() + Step;
        return m_ids.Reserve(nCapacity) && m_objects.Reserve(nCapacity);
    }

    List<Id> m_ids;
    List<Ref<T>> m_objects; ///< as many as there are ids
};

} // namespace trevik::kelvo
