#include "Driver.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/** Ends the program when an entry point has no answer here. */
void RequireAnswer(bool fExists, char const* name) {
    if (fExists) {
        return;
    }
    std::fprintf(stderr, "recording: %s is called and has no answer\n", name);
    std::abort();
}

} // namespace

// The entry points themselves. Each does the same: it takes down its arguments, gives the answer and notes
// the call.
#define NOTE(type, name, kind)                                                                               \
    kelvokit::recording::MakeArgument(kelvokit::recording::ArgumentKind::kind, #name, name)
#define BODY(name, ...)                                                                                      \
    RequireAnswer(kelvokit::recording::answer::name != nullptr, #name);                                      \
    kelvokit::recording::Invocation call(#name, {KELVO_EACH(NOTE, __VA_ARGS__)});                            \
    return call.Run([&] { return kelvokit::recording::answer::name(call, KELVO_NAMES(__VA_ARGS__)); });

#define ENTRY(result, name, ...)                                                                             \
    extern "C" result name(KELVO_PARAMETERS(__VA_ARGS__)) {                                                  \
        BODY(name, __VA_ARGS__)                                                                              \
    }
#define ENTRY0(result, name)                                                                                 \
    extern "C" result name() {                                                                               \
        RequireAnswer(kelvokit::recording::answer::name != nullptr, #name);                                  \
        kelvokit::recording::Invocation call(#name, {});                                                     \
        return call.Run([&] { return kelvokit::recording::answer::name(call); });                            \
    }
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION

namespace kelvokit::recording {

namespace extension {
#define ENTRY(result, name, ...)
#define ENTRY0(result, name)
#define EXTENSION(result, name, ...)                                                                         \
    static result name(KELVO_PARAMETERS(__VA_ARGS__)) {                                                      \
        BODY(name, __VA_ARGS__)                                                                              \
    }
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
} // namespace extension

namespace {

using Procedure = __eglMustCastToProperFunctionPointerType;

struct EntryPoint {
    char const* name;
    Procedure address;
};

EntryPoint const EntryPoints[] = {
#define ENTRY(result, name, ...) {#name, reinterpret_cast<Procedure>(&::name)},
#define ENTRY0(result, name) {#name, reinterpret_cast<Procedure>(&::name)},
#define EXTENSION(result, name, ...) {#name, reinterpret_cast<Procedure>(&extension::name)},
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
};

} // namespace

Procedure FindEntryPoint(char const* name) {
    for (EntryPoint const& entry : EntryPoints) {
        if (std::strcmp(entry.name, name) == 0) {
            return entry.address;
        }
    }
    return nullptr;
}

} // namespace kelvokit::recording
