#pragma once

#include <atomic>
#include <cstdint>

namespace android {

/** Counts the strong references to a T, which goes with the last one. Any thread. */
template <class T>
class LightRefBase {
public:
    LightRefBase() : mCount(0) {}

    /** `id` tells who refers to the object; it is not kept. */
    void incStrong(void const* id) const {
        static_cast<void>(id);
        mCount.fetch_add(1, std::memory_order_relaxed);
    }
    void decStrong(void const* id) const {
        static_cast<void>(id);
        if (mCount.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete static_cast<T const*>(this);
        }
    }
    /** The number of references at this moment. */
    std::int32_t getStrongCount() const { return mCount.load(std::memory_order_acquire); }

protected:
    ~LightRefBase() = default;

private:
    mutable std::atomic<std::int32_t> mCount;
};

} // namespace android

#include <utils/StrongPointer.h>
