#pragma once

#include "trevik/List.h"

#include <utility>

namespace trevik::kelvo {

/**
 * A stack for pushes and pops that come in pairs: a push that finds no room is counted, and so is each one on
 * top of it, so that every pop takes back what its own push has done and nothing else.
 */
template <class T>
class PairedStack {
public:
    /** Whether the element is there now. */
    bool Push(T const& element) {
        if (m_nLost == 0 && m_elements.Append(element)) {
            return true;
        }
        ++m_nLost;
        return false;
    }
    /** A push that failed before there was an element. */
    void PushNothing() { ++m_nLost; }
    /** Takes the last push back. True when an element went, which is then in `element`. */
    bool Pop(T& element) {
        if (m_nLost > 0 || m_elements.IsEmpty()) {
            m_nLost -= m_nLost > 0 ? 1 : 0;
            return false;
        }
        element = std::move(m_elements.Last());
        m_elements.RemoveLast();
        return true;
    }
    /** Takes the last push back. */
    void Pop() {
        if (m_nLost > 0) {
            --m_nLost;
        } else {
            m_elements.RemoveLast();
        }
    }
    /** Takes out all elements, and forgets the pushes that were lost. */
    void Clear() {
        m_elements.Clear();
        m_nLost = 0;
    }
    /** Calls `visit` with each element, from the bottom up. */
    template <class Visit>
    void ForEach(Visit visit) {
        for (T& element : m_elements) {
            visit(element);
        }
    }
    /** Whether there is no element. */
    bool IsEmpty() const { return m_elements.IsEmpty(); }
    /** The topmost element that is there; there has to be one. */
    T& Top() { return m_elements.Last(); }
    /** The topmost element that is there; there has to be one. */
    T const& Top() const { return m_elements.Last(); }

private:
    List<T> m_elements;
    unsigned int m_nLost = 0; ///< pushes that are not in the list, all on top of it
};

} // namespace trevik::kelvo
