#pragma once

#include "trevik/Atomic.h"
#include "trevik/Export.h"

namespace trevik {

/**
 * Base of objects that several owners share. An object starts with no references; the last one to be released
 * deletes it. Any thread may count. Its virtual table holds the destructor and nothing else, so that a
 * derived class's own operations come right after it.
 */
class TREVIK_API Referenced {
public:
    Referenced() : m_nReferences(0) {}

    /** A copy is a new object without references. */
    Referenced(Referenced const&) : m_nReferences(0) {}

    virtual ~Referenced();

    /** Assignment changes an object's content, not its count of references. */
    Referenced& operator=(Referenced const&) { return *this; }

    /** Adds a reference. */
    void AddReference() const { kelvo::Atomic::Increment(&m_nReferences); }

    /** Drops a reference, and deletes the object when that was the last one. */
    void ReleaseReference() const {
        if (kelvo::Atomic::Decrement(&m_nReferences) == 0) {
            delete this;
        }
    }

    /** The number of references at this moment. */
    long GetReferenceCount() const { return kelvo::Atomic::Get(&m_nReferences); }

private:
    mutable long volatile m_nReferences;
};

} // namespace trevik
