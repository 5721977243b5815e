#pragma once

#include <new>

namespace trevik {

/**
 * Holds an object that is never destroyed: other libraries may use it while the process ends, when statics of
 * this one are destroyed already.
 */
template <class T>
class Immortal {
public:
    Immortal() { new (m_storage) T; }

    /** The object. */
    T& Get() { return *std::launder(reinterpret_cast<T*>(m_storage)); }

private:
    alignas(T) unsigned char m_storage[sizeof(T)];
};

} // namespace trevik
