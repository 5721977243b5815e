#pragma once

#include <cerrno>
#include <cstdint>

namespace android {

/** What operations answer: NO_ERROR, or a negative number. */
using status_t = std::int32_t;

enum : status_t {
    OK = 0,
    NO_ERROR = 0,
    UNKNOWN_ERROR = INT32_MIN,
    NO_MEMORY = -ENOMEM,
    BAD_VALUE = -EINVAL,
    INVALID_OPERATION = -ENOSYS,
    NO_INIT = -ENODEV
};

} // namespace android
