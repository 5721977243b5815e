#pragma once

#include "trevik/Referenced.h"

#include <cstddef>

namespace trevik {

/**
 * A reference to a Referenced object, or none. Holding one keeps the object alive. Different Refs to one
 * object may be used by different threads at the same time; one and the same Ref may not.
 *
 * A plain pointer becomes a Ref only where the text says so, as in `m_pFont = Ref(pFont)`: a Ref that came of
 * a pointer unnoticed would delete an object that nothing else refers to yet, as soon as it went.
 */
template <class T>
class Ref {
public:
    Ref() : m_pObject(nullptr) {}
    /** Refers to nothing. */
    Ref(std::nullptr_t) : m_pObject(nullptr) {}
    /** Takes a reference of its own; none of null. */
    explicit Ref(T* object) : m_pObject(object) { Retain(); }
    Ref(Ref const& other) : m_pObject(other.m_pObject) { Retain(); }
    Ref(Ref&& other) noexcept : m_pObject(other.Detach()) {}

    /** From a Ref to a class derived from T; takes a reference of its own. */
    template <class U>
    Ref(Ref<U> const& other) : m_pObject(other.Get()) {
        Retain();
    }

    /** From a Ref to a class derived from T, and takes its reference over. */
    template <class U>
    Ref(Ref<U>&& other) noexcept : m_pObject(other.Detach()) {}

    ~Ref() {
        if (m_pObject) {
            m_pObject->ReleaseReference();
        }
    }

    // The argument holds the new object already and takes the old one away with it: assigning a Ref to
    // itself, or something that only the old object keeps alive, is safe.
    /** Refers to the other one's object and lets the one before go. */
    Ref& operator=(Ref other) noexcept {
        Swap(other);
        return *this;
    }

    /** Lets the object go and refers to nothing. */
    void Reset() { Ref().Swap(*this); }

    /** Exchanges the objects; counts nothing. */
    void Swap(Ref& other) noexcept {
        T* const object = m_pObject;
        m_pObject = other.m_pObject;
        other.m_pObject = object;
    }

    /** Gives up the pointer with its reference, which the caller now has to release, or keeps for good. */
    T* Detach() noexcept {
        T* const object = m_pObject;
        m_pObject = nullptr;
        return object;
    }

    /** The object, borrowed; null for none. */
    T* Get() const { return m_pObject; }
    /** The object, which there has to be. */
    T* operator->() const { return m_pObject; }
    /** The object, which there has to be. */
    T& operator*() const { return *m_pObject; }
    /** Whether there is an object. */
    explicit operator bool() const { return m_pObject != nullptr; }

private:
    void Retain() {
        if (m_pObject) {
            m_pObject->AddReference();
        }
    }

    T* m_pObject;
};

template <class T, class U>
inline bool operator==(Ref<T> const& a, Ref<U> const& b) {
    return a.Get() == b.Get();
}

template <class T, class U>
inline bool operator!=(Ref<T> const& a, Ref<U> const& b) {
    return a.Get() != b.Get();
}

template <class T, class U>
inline bool operator==(Ref<T> const& a, U* b) {
    return a.Get() == b;
}

template <class T, class U>
inline bool operator!=(Ref<T> const& a, U* b) {
    return a.Get() != b;
}

template <class T, class U>
inline bool operator==(U* a, Ref<T> const& b) {
    return a == b.Get();
}

template <class T, class U>
inline bool operator!=(U* a, Ref<T> const& b) {
    return a != b.Get();
}

template <class T>
inline bool operator==(Ref<T> const& a, std::nullptr_t) {
    return a.Get() == nullptr;
}

template <class T>
inline bool operator!=(Ref<T> const& a, std::nullptr_t) {
    return a.Get() != nullptr;
}

} // namespace trevik
