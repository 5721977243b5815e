#pragma once

#include "SkFlattenable.h"

class SkColorTable;
class SkMutex;

/** The pixels of bitmaps, which they have in memory only while somebody has locked them. */
class KELVO_DESKTOP_API SkPixelRef : public SkFlattenable {
public:
    /** `mutex` guards lock counts; null takes one that all such pixels share. */
    explicit SkPixelRef(SkMutex* mutex = nullptr);
    ~SkPixelRef() override;

    /** The address of the pixels while they are locked, else null. */
    void* pixels() const { return fPixels; }
    SkColorTable* colorTable() const { return fColorTable; }
    bool isLocked() const { return fLockCount > 0; }

    /** May be called several times; the first one has the pixels brought in. Any thread. */
    void lockPixels();
    /** Undoes one lockPixels; the last one gives the pixels back. */
    void unlockPixels();

protected:
    /** Brings the pixels in: their address, null on failure, and their colour table or null. */
    virtual void* onLockPixels(SkColorTable** table) = 0;
    virtual void onUnlockPixels() = 0;

private:
    SkMutex* fMutex;
    void* fPixels = nullptr;
    SkColorTable* fColorTable = nullptr;
    int fLockCount = 0;
};
