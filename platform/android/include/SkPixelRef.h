#pragma once

#include "SkFlattenable.h"

class SkColorTable;
class SkMutex;

/** The pixels of bitmaps, which they have in memory only while they are locked. */
class ANDROID_API SkPixelRef : public SkFlattenable {
public:
    /** `mutex` is held while pixels are brought in and given back; null takes one that all such share. */
    explicit SkPixelRef(SkMutex* mutex = nullptr);
    ~SkPixelRef() override;

    // While the pixels are locked: the address of the first, null when they could not be brought in, and
    // their colour table or null.
    void* pixels() const { return fPixels; }
    SkColorTable* colorTable() const { return fColorTable; }
    /** Whether anybody has them locked. Any thread. */
    bool isLocked() const;

    /** May be called several times; the first one has the pixels brought in. Any thread. */
    void lockPixels();
    /** Undoes one lockPixels; the last one gives the pixels back. Any thread. */
    void unlockPixels();

protected:
    /** Brings the pixels in: their address, null on failure, and their colour table or null. */
    virtual void* onLockPixels(SkColorTable** table) = 0;
    /** Gives the pixels back, also those that could not be brought in. */
    virtual void onUnlockPixels() = 0;

private:
    SkMutex& fMutex;
    void* fPixels = nullptr;
    SkColorTable* fColorTable = nullptr;
    int fLockCount = 0;
};
