#include "trevik/Assert.h"

#include "trevik/Immortal.h"
#include "trevik/LogLine.h"
#include "trevik/Mutex.h"

#include <cstdio>

namespace trevik {

namespace {

Mutex& HandlerMutex() {
    static Immortal<Mutex> s_mutex;
    return s_mutex.Get();
}

AssertHandler g_handler = {nullptr, nullptr};

AssertHandler CurrentHandler() {
    ScopedLock lock(HandlerMutex());
    return g_handler;
}

} // namespace

void AssertFail(char const* file, unsigned int line, char const* expression) {
    AssertHandler const handler = CurrentHandler();
    if (handler.pfnHandle) {
        handler.pfnHandle(handler.pUser, file, line, expression);
    } else {
        char text[1024]; // on the stack: it may be memory that is missing
        std::snprintf(text, sizeof(text), "%s:%u: assertion failed: %s", file, line, expression);
        LogLine(TraceLevel::Error, text);
    }
}

AssertHandler SetAssertHandler(AssertHandler::Function handle, void* user) {
    return SetAssertHandler(AssertHandler{handle, user});
}

AssertHandler SetAssertHandler(AssertHandler const& handler) {
    ScopedLock lock(HandlerMutex());
    AssertHandler const before = g_handler;
    g_handler = handler;
    return before;
}

} // namespace trevik
