#pragma once

#include <cutils/compiler.h>

#include <mutex>

/** What one thread at a time may hold. */
class ANDROID_API SkMutex {
public:
    SkMutex();
    SkMutex(SkMutex const&) = delete;
    SkMutex& operator=(SkMutex const&) = delete;

    void acquire();
    void release();

private:
    std::mutex fMutex;
};

/** Holds a mutex while it lives. */
class SkAutoMutexAcquire {
public:
    explicit SkAutoMutexAcquire(SkMutex& mutex) : fMutex(mutex) { fMutex.acquire(); }
    SkAutoMutexAcquire(SkAutoMutexAcquire const&) = delete;
    SkAutoMutexAcquire& operator=(SkAutoMutexAcquire const&) = delete;
    ~SkAutoMutexAcquire() { fMutex.release(); }

private:
    SkMutex& fMutex;
};
