#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace kelvokit::desktop {

struct FreeMemory {
    void operator()(std::uint8_t* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<std::uint8_t, FreeMemory>;

/** What is behind a graphic buffer. */
struct BufferContents {
    std::mutex mutex; ///< guards `locked`, and the pixels while the buffer is not locked
    bool locked = false;
    Memory pixels;
    /**
     * Some rows of pixels as GL takes them, where it does not take them as they are; made with the first
     * image. Used by the thread that uploads.
     */
    Memory packed;
};

} // namespace kelvokit::desktop
