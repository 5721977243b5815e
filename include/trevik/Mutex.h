#pragma once

#include "trevik/Export.h"

#include <pthread.h>

namespace trevik {

/** A lock that the thread which holds it may take again; it is free when it has been given back as often. */
class TREVIK_API Mutex {
public:
    Mutex();

    /** No thread may hold it. */
    ~Mutex();

    Mutex(Mutex const&) = delete;
    Mutex& operator=(Mutex const&) = delete;

    /**
     * Waits until the lock is the caller's. @return false when it cannot be had, as by too many locks of one
     * thread.
     */
    bool Lock() { return pthread_mutex_lock(&m_mutex) == 0; }

    /** As Lock, but returns false at once when another thread holds it. */
    bool TryLock() { return pthread_mutex_trylock(&m_mutex) == 0; }

    /** Gives back one Lock of the calling thread. */
    void Unlock() { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

/** Holds a mutex to the end of the enclosing block; it unlocks only what it has locked itself. */
class ScopedLock {
public:
    /** Locks the mutex, which is borrowed. */
    explicit ScopedLock(Mutex& mutex) : m_mutex(mutex), m_fLocked(mutex.Lock()) {}
    ~ScopedLock() {
        if (m_fLocked) {
            m_mutex.Unlock();
        }
    }

    ScopedLock(ScopedLock const&) = delete;
    ScopedLock& operator=(ScopedLock const&) = delete;

    /** Whether the mutex could be locked. */
    bool IsLocked() const { return m_fLocked; }

private:
    Mutex& m_mutex;
    bool const m_fLocked;
};

} // namespace trevik
