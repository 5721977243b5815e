#pragma once

#include "trevik/Debug.h"

namespace trevik::kelvo {

/** Traces, as an error, that an operation which this version of the library does not offer was asked for. */
inline void TraceUnavailable(char16_t const* pOperation) {
    Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s is not available in this version\n", pOperation);
}

} // namespace trevik::kelvo
