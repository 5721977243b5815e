#pragma once

#include <cutils/compiler.h>

#include <atomic>
#include <cstdint>

/** An object that counts its owners, beginning with the one who made it. Any thread. */
class ANDROID_API SkRefCnt {
public:
    SkRefCnt() : fRefCnt(1) {}
    virtual ~SkRefCnt();
    SkRefCnt(SkRefCnt const&) = delete;
    SkRefCnt& operator=(SkRefCnt const&) = delete;

    std::int32_t getRefCnt() const { return fRefCnt.load(std::memory_order_acquire); }
    void ref() const { fRefCnt.fetch_add(1, std::memory_order_relaxed); }
    /** The last owner's deletes the object. */
    void unref() const {
        if (fRefCnt.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }

private:
    mutable std::atomic<std::int32_t> fRefCnt;
};
