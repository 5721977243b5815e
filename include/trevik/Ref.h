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
    Ref(std::nullptr_t) : m_pObject(nullptr) {}
    /** Takes a reference of its own; none of null. */
    explicit Ref(T* object) : m_pObject(object) { Retain(); }
    Ref(Ref const& other) : m_pObject(other.m_pObject) { Retain(); }
    Ref(Ref&& other) noexcept : m_pObject(other.Detach()) {}

    template <class U>
    Ref(Ref<U> const& other) : m_pObject(other.Get()) {
        Retain();
    }

    template <class U>
    Ref(Ref<U>&& other) noexcept : m_pObject(other.Detach()) {}

    ~Ref() {
        if (m_pObject) {
            m_pObject->ReleaseReference();
        }
    }

    // The argument holds the new object already and takes the old one away with it: assigning a Ref to
    // itself, or something that only the old object keeps alive, is safe.
    Ref& operator=(Ref other) noexcept {
        Swap(other);
        return *this;
    }

    void Reset() { Ref().Swap(*this); }

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

    T* Get() const { return m_pObject; }
    T* operator->() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }
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
