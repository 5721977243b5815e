#pragma once

#include "trevik/Export.h"

namespace trevik {

/**
 * Reports a broken invariant: to the handler that is installed, or else as one line where traces go by
 * default. It may return, so its callers go on, or give up in their own way. Any thread.
 */
TREVIK_API void AssertFail(char const* file, unsigned int line, char const* expression);

/** Who is told about broken invariants: a function with a value of its user's choice. */
struct AssertHandler {
    /** Told the file and line of the check that failed, and its expression. May return. */
    using Function = void (*)(void* user, char const* file, unsigned int line, char const* expression);

    Function pfnHandle; ///< null: the default, one line where traces go by default
    void* pUser;        ///< handed to the function
};

/**
 * Installs a handler for the whole process, null for the default, and returns the one before. The handler is
 * called on the thread that failed, by several at once if need be.
 */
TREVIK_API AssertHandler SetAssertHandler(AssertHandler::Function handle, void* user = nullptr);
TREVIK_API AssertHandler SetAssertHandler(AssertHandler const& handler);

} // namespace trevik

/** Reports `text` with this file and line when the condition does not hold. */
#define TREVIK_ASSERT_AT(condition, file, line, text)                                                        \
    ((condition) ? static_cast<void>(0) : ::trevik::AssertFail((file), (line), (text)))

/** The same with the place and the text of the condition itself. */
#define TREVIK_ASSERT(condition) TREVIK_ASSERT_AT(condition, __FILE__, __LINE__, #condition)
