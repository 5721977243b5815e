#pragma once

#include "trevik/Memory.h"

#include <climits>
#include <cstring>
#include <type_traits>

namespace trevik::kelvo {

/**
 * Shared objects under ids, in the order in which they came: a short table that is searched from the front,
 * so that ids stand by themselves. It holds a reference to each object until ReleaseAll.
 */
template <class Id, class T>
class IdTable {
public:
    IdTable() = default;
    /**
     * Frees the table alone: releasing the objects takes a thread and a context, so it is asked for by
     * ReleaseAll.
     */
    ~IdTable() {
        FreeMemory(m_pIds);
        FreeMemory(m_ppObjects);
    }
    IdTable(IdTable const&) = delete;
    IdTable& operator=(IdTable const&) = delete;

    /** The object of the first entry with this id, borrowed; null when there is none. */
    T* Find(Id id) const {
        for (int i = 0; i < m_nCount; ++i) {
            if (m_pIds[i] == id) {
                return m_ppObjects[i];
            }
        }
        return nullptr;
    }

    /** Whether some entry has this object. */
    bool Holds(T const* pObject) const {
        for (int i = 0; i < m_nCount; ++i) {
            if (m_ppObjects[i] == pObject) {
                return true;
            }
        }
        return false;
    }

    /**
     * Adds a reference to the object, then an entry at the end.
     * @return the entry's index; -1, with the reference kept all the same, when the table cannot grow.
     */
    int Add(Id id, T* pObject) {
        pObject->AddReference();
        if (m_nCount == m_nCapacity && !Grow()) {
            return -1;
        }
        m_pIds[m_nCount] = id;
        m_ppObjects[m_nCount] = pObject;
        return m_nCount++;
    }

    /** Releases each object's reference, in order, and leaves the table empty with its storage kept. */
    void ReleaseAll() {
        for (int i = 0; i < m_nCount; ++i) {
            if (T* const pObject = m_ppObjects[i]) {
                m_ppObjects[i] = nullptr;
                pObject->ReleaseReference();
            }
        }
        m_nCount = 0;
    }

private:
    static_assert(std::is_trivially_copyable<Id>::value, "ids are moved as bytes");

    enum : int { Step = 8 };

    bool Grow() {
        if (m_nCapacity > INT_MAX - Step) {
            return false;
        }
        int const nCapacity = m_nCapacity + Step;
        Id* const pIds = static_cast<Id*>(AllocateMemory(sizeof(Id) * static_cast<unsigned int>(nCapacity)));
        T** const ppObjects =
            static_cast<T**>(AllocateMemory(sizeof(T*) * static_cast<unsigned int>(nCapacity)));
        if (!pIds || !ppObjects) {
            FreeMemory(pIds);
            FreeMemory(ppObjects);
            return false;
        }
        if (m_nCount > 0) {
            std::memcpy(pIds, m_pIds, sizeof(Id) * static_cast<unsigned int>(m_nCount));
            std::memcpy(ppObjects, m_ppObjects, sizeof(T*) * static_cast<unsigned int>(m_nCount));
        }
        FreeMemory(m_pIds);
        FreeMemory(m_ppObjects);
        m_pIds = pIds;
        m_ppObjects = ppObjects;
        m_nCapacity = nCapacity;
        return true;
    }

    Id* m_pIds = nullptr;
    T** m_ppObjects = nullptr;
    int m_nCount = 0;
    int m_nCapacity = 0;
};

} // namespace trevik::kelvo
