#pragma once

namespace android {

/** A strong reference to an object that counts them, or none. One and the same sp belongs to one thread. */
template <class T>
class sp {
public:
    sp() : m_ptr(nullptr) {}
    sp(T* other) : m_ptr(other) { acquire(); }
    sp(sp const& other) : m_ptr(other.m_ptr) { acquire(); }
    ~sp() { clear(); }

    sp& operator=(T* other) {
        if (other) {
            other->incStrong(this);
        }
        clear();
        m_ptr = other;
        return *this;
    }
    // The other one takes a reference first. NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    sp& operator=(sp const& other) { return *this = other.m_ptr; }

    /** Lets the object go. */
    void clear() {
        T* const object = m_ptr;
        m_ptr = nullptr;
        if (object) {
            object->decStrong(this);
        }
    }

    T* get() const { return m_ptr; }
    T* operator->() const { return m_ptr; }
    T& operator*() const { return *m_ptr; }

    bool operator==(T const* other) const { return m_ptr == other; }
    bool operator!=(T const* other) const { return m_ptr != other; }
    bool operator==(sp const& other) const { return m_ptr == other.m_ptr; }
    bool operator!=(sp const& other) const { return m_ptr != other.m_ptr; }

private:
    void acquire() {
        if (m_ptr) {
            m_ptr->incStrong(this);
        }
    }

    T* m_ptr;
};

} // namespace android
