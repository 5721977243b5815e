#include "SkPixelRef.h"

#include "SkThread.h"

namespace {

SkMutex& SharedMutex() {
    // Not destroyed at exit: bitmaps may live longer than this would.
    static SkMutex* const s_pMutex = new SkMutex;
    return *s_pMutex;
}

} // namespace

SkMutex::SkMutex() = default;

void SkMutex::acquire() {
    fMutex.lock();
}

void SkMutex::release() {
    fMutex.unlock();
}

SkRefCnt::~SkRefCnt() = default;

void SkFlattenable::flatten(SkFlattenableWriteBuffer&) {}

SkPixelRef::SkPixelRef(SkMutex* mutex) : fMutex(mutex ? *mutex : SharedMutex()) {}

SkPixelRef::~SkPixelRef() = default;

bool SkPixelRef::isLocked() const {
    SkAutoMutexAcquire const held(fMutex);
    return fLockCount > 0;
}

void SkPixelRef::lockPixels() {
    SkAutoMutexAcquire const held(fMutex);
    if (fLockCount++ == 0) {
        fPixels = onLockPixels(&fColorTable);
    }
}

void SkPixelRef::unlockPixels() {
    SkAutoMutexAcquire const held(fMutex);
    if (fLockCount > 0 && --fLockCount == 0) {
        onUnlockPixels();
        fPixels = nullptr;
        fColorTable = nullptr;
    }
}
