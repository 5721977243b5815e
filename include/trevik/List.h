#pragma once

#include "trevik/Export.h"
#include "trevik/Memory.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace trevik {

/**
 * A growable array. Operations that need more storage answer false when there is none, and leave the list as
 * it was. Pointers to elements hold until the list grows past its capacity or is released.
 */
template <class T>
class List {
public:
    List() : m_nCount(0), m_nCapacity(0), m_pData(nullptr) {}

    /** Without storage for the copy, the new list is empty. */
    List(List const& other) : List() { Assign(other); }

    List(List&& other) noexcept
        : m_nCount(other.m_nCount), m_nCapacity(other.m_nCapacity), m_pData(other.m_pData) {
        other.Forget();
    }

    ~List() { Release(); }

    /** Without storage for the copy, this list ends up empty; Assign tells, and keeps the old elements. */
    List& operator=(List const& other) {
        if (this != &other && !Assign(other)) {
            Clear();
        }
        return *this;
    }

    List& operator=(List&& other) noexcept {
        if (this != &other) {
            Release();
            Swap(other);
        }
        return *this;
    }

    /** Copies the other list's elements into this one, using the storage at hand where it is large enough. */
    bool Assign(List const& other) {
        if (this == &other) {
            return true;
        }
        if (other.m_nCount > m_nCapacity) {
            T* const storage = AllocateElements(other.m_nCount);
            if (!storage) {
                return false;
            }
            Release();
            m_pData = storage;
            m_nCapacity = other.m_nCount;
        }
        Clear();
        for (; m_nCount < other.m_nCount; ++m_nCount) {
            new (m_pData + m_nCount) T(other.m_pData[m_nCount]);
        }
        return true;
    }

    /** The number of elements. */
    unsigned int GetCount() const { return m_nCount; }
    /** How many elements there is storage for. */
    unsigned int GetCapacity() const { return m_nCapacity; }
    /** Whether there is no element. */
    bool IsEmpty() const { return m_nCount == 0; }

    /** The elements, one after the other; null while there is no storage. */
    T* GetData() { return m_pData; }
    /** The elements, one after the other; null while there is no storage. */
    T const* GetData() const { return m_pData; }

    /** The index must be below the count; First and Last need an element. */
    T& operator[](unsigned int index) { return m_pData[index]; }
    /** The index must be below the count. */
    T const& operator[](unsigned int index) const { return m_pData[index]; }
    /** The first element; there has to be one. */
    T& First() { return m_pData[0]; }
    /** The first element; there has to be one. */
    T const& First() const { return m_pData[0]; }
    /** The last element; there has to be one. */
    T& Last() { return m_pData[m_nCount - 1]; }
    /** The last element; there has to be one. */
    T const& Last() const { return m_pData[m_nCount - 1]; }

    /** The first element, for loops. */
    T* begin() { return m_pData; }
    /** Behind the last element, for loops. */
    T* end() { return m_pData + m_nCount; }
    /** The first element, for loops. */
    T const* begin() const { return m_pData; }
    /** Behind the last element, for loops. */
    T const* end() const { return m_pData + m_nCount; }

    /** Adds an element at the end; it may be one of this list's own. */
    bool Append(T const& element) { return Emplace(element); }
    /** Adds an element at the end, and takes over what it holds. False without memory. */
    bool Append(T&& element) { return Emplace(std::move(element)); }

    /** Puts an element before the one at the index, or at the end; an index beyond the count is refused. */
    bool Insert(unsigned int index, T const& element) {
        if (index > m_nCount || !Emplace(element)) {
            return false;
        }
        if (index + 1 < m_nCount) {
            T last(std::move(m_pData[m_nCount - 1]));
            for (unsigned int i = m_nCount - 1; i > index; --i) {
                m_pData[i] = std::move(m_pData[i - 1]);
            }
            m_pData[index] = std::move(last);
        }
        return true;
    }

    /** Makes room for at least this many elements in all. */
    bool Reserve(unsigned int capacity) {
        if (capacity <= m_nCapacity) {
            return true;
        }
        T* const storage = AllocateElements(capacity);
        if (!storage) {
            return false;
        }
        MoveTo(storage, capacity);
        return true;
    }

    /** Drops elements from the end, or adds default (zero) ones there. */
    bool Resize(unsigned int count) {
        if (!Reserve(count)) {
            return false;
        }
        DropFrom(count);
        if constexpr (std::is_arithmetic<T>::value) {
            if (m_nCount < count) {
                std::memset(static_cast<void*>(m_pData + m_nCount), 0, (count - m_nCount) * ElementSize);
                m_nCount = count;
            }
        }
        for (; m_nCount < count; ++m_nCount) {
            new (m_pData + m_nCount) T();
        }
        return true;
    }

    /** Drops elements from the end, or adds copies of the given one there. */
    bool Resize(unsigned int count, T const& fill) {
        if (count > m_nCapacity) {
            T const copy(fill); // it may be one of the elements that are about to move
            return Reserve(count) && Resize(count, copy);
        }
        DropFrom(count);
        for (; m_nCount < count; ++m_nCount) {
            new (m_pData + m_nCount) T(fill);
        }
        return true;
    }

    /** Takes out one element and closes the gap; an index beyond the elements is ignored. */
    void RemoveAt(unsigned int index) {
        if (index >= m_nCount) {
            return;
        }
        for (unsigned int i = index; i + 1 < m_nCount; ++i) {
            m_pData[i] = std::move(m_pData[i + 1]);
        }
        RemoveLast();
    }

    /** Takes out the last element, if there is one. */
    void RemoveLast() {
        if (m_nCount > 0) {
            m_pData[--m_nCount].~T();
        }
    }

    /** Takes out all elements and keeps the storage. */
    void Clear() { DropFrom(0); }

    /** Takes out all elements and gives the storage back. */
    void Release() {
        Clear();
        FreeMemory(m_pData);
        Forget();
    }

    /**
     * The first element equal to this one, or -1. `element` may be of another type that compares with T, such
     * as a pointer in a list of Refs: no reference is taken for the search.
     */
    template <class U = T>
    int IndexOf(U const& element) const {
        for (unsigned int i = 0; i < m_nCount; ++i) {
            if (m_pData[i] == element) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    /** Exchanges the elements of two lists; allocates nothing. */
    void Swap(List& other) noexcept {
        std::swap(m_pData, other.m_pData);
        std::swap(m_nCount, other.m_nCount);
        std::swap(m_nCapacity, other.m_nCapacity);
    }

    bool operator==(List const& other) const {
        if (m_nCount != other.m_nCount) {
            return false;
        }
        for (unsigned int i = 0; i < m_nCount; ++i) {
            if (!(m_pData[i] == other.m_pData[i])) {
                return false;
            }
        }
        return true;
    }
    bool operator!=(List const& other) const { return !(*this == other); }

private:
    // The element's own size is meant where the elements are pointers, too.
    static constexpr std::size_t ElementSize = sizeof(T); // NOLINT(bugprone-sizeof-expression)

    static T* AllocateElements(unsigned int count) {
        static_assert(alignof(T) <= alignof(std::max_align_t), "the storage is aligned for ordinary types");
        if (count > static_cast<std::size_t>(PTRDIFF_MAX) / ElementSize) {
            return nullptr;
        }
        return static_cast<T*>(AllocateMemory(count * ElementSize));
    }

    void Forget() {
        m_pData = nullptr;
        m_nCount = 0;
        m_nCapacity = 0;
    }

    void DropFrom(unsigned int count) {
        if constexpr (std::is_trivially_destructible<T>::value) {
            m_nCount = count < m_nCount ? count : m_nCount;
        } else {
            while (m_nCount > count) {
                m_pData[--m_nCount].~T();
            }
        }
    }

    /** Moves the elements into new storage and gives the old one back. */
    void MoveTo(T* storage, unsigned int capacity) {
        if constexpr (std::is_trivially_copyable<T>::value) {
            if (m_nCount > 0) {
                std::memcpy(static_cast<void*>(storage), m_pData, m_nCount * ElementSize);
            }
        } else {
            for (unsigned int i = 0; i < m_nCount; ++i) {
                new (storage + i) T(std::move(m_pData[i]));
                m_pData[i].~T();
            }
        }
        FreeMemory(m_pData);
        m_pData = storage;
        m_nCapacity = capacity;
    }

    template <class U>
    bool Emplace(U&& element) {
        if (m_nCount < m_nCapacity) {
            new (m_pData + m_nCount) T(std::forward<U>(element));
            ++m_nCount;
            return true;
        }
        return EmplaceGrowing(std::forward<U>(element));
    }

    template <class U>
    TREVIK_NOINLINE bool EmplaceGrowing(U&& element) {
        if (m_nCapacity == UINT_MAX) {
            return false;
        }
        unsigned int const capacity = m_nCapacity < 4              ? 4
                                      : m_nCapacity > UINT_MAX / 2 ? UINT_MAX
                                                                   : m_nCapacity * 2;
        T* const storage = AllocateElements(capacity);
        if (!storage) {
            return false;
        }
        // The new element first: it may be a copy of one that moves.
        new (storage + m_nCount) T(std::forward<U>(element));
        MoveTo(storage, capacity);
        ++m_nCount;
        return true;
    }

    unsigned int m_nCount; // first, for those who only look whether there are elements
    unsigned int m_nCapacity;
    T* m_pData;
};

} // namespace trevik
