#include "Allocations.h"
#include "EntryPointMacros.h"
#include "GlTape.h"
#include "kelvo_recording/Recording.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <type_traits>

// What the library calls: each of GL's functions is noted, and passed on. The definitions are weak: one is
// written by hand, in GlTape.cpp.
namespace {

using namespace kelvokit::bench;
using Kind = kelvokit::recording::ArgumentKind;

/** Of an argument that is memory, how many values are held: those of one element; 0 where none can be. */
constexpr std::size_t CountValues(Kind kind) {
    switch (kind) {
    case Kind::Floats1:
    case Kind::Ints1:
        return 1;
    case Kind::Floats2:
    case Kind::Ints2:
        return 2;
    case Kind::Floats3:
    case Kind::Ints3:
        return 3;
    case Kind::Floats4:
    case Kind::Ints4:
        return 4;
    case Kind::Floats9:
        return 9;
    case Kind::Floats16:
    case Kind::Out: // as much as any glGet writes
        return 16;
    default:
        return 0;
    }
}

/** An argument as a tape holds it: a value, or the values that it points to. */
template <Kind kind, class T, bool fMemory = std::is_pointer_v<T>>
struct Held {
    static constexpr bool CanBe = true;
    T m_value;
    T Get() const { return m_value; }
};
template <Kind kind, class T>
struct Held<kind, T*, true> {
    static constexpr bool CanBe = CountValues(kind) != 0 && !std::is_void_v<T>;
    using Value = std::conditional_t<CanBe, std::remove_const_t<T>, char>;
    mutable std::array<Value, CanBe ? CountValues(kind) : 1> m_values = {};

    explicit Held(T* pValues) {
        if constexpr (CanBe && kind != Kind::Out) {
            std::copy_n(pValues, m_values.size(), m_values.begin());
        }
    }
    T* Get() const { return m_values.data(); }
};

/** Notes a call where a tape records, which ends the program where it cannot be held, and makes it. */
template <class... Arguments, class Result, class... T>
Result Pass(std::tuple<Arguments...>*, char const* pName, Result (*pNext)(T...),
            std::common_type_t<T>... arguments) {
    if constexpr (std::is_void_v<Result>) {
        GlTape* const pTape = GlTape::Recording();
        if constexpr ((Arguments::CanBe && ...)) {
            if (pTape != nullptr) {
                pTape->Note([pNext, held = std::tuple<Arguments...>(Arguments{arguments}...)] {
                    std::apply([pNext](auto const&... each) { pNext(each.Get()...); }, held);
                });
            }
        } else if (pTape != nullptr) {
            std::fprintf(stderr, "benchmark: a frame calls %s, which no tape can hold\n", pName);
            std::exit(1);
        }
    }
    UncountedAllocations const driversOwn;
    return pNext(arguments...);
}

} // namespace

#define HELD(type, name, kind) Held<Kind::kind, type>
#define NEXT(name) static auto const s_pNext = reinterpret_cast<decltype(&(name))>(GlTape::FindNext(#name))
#define ENTRY(result, name, ...)                                                                             \
    extern "C" __attribute__((weak)) result name(KELVO_PARAMETERS(__VA_ARGS__)) {                            \
        NEXT(name);                                                                                          \
        return Pass(static_cast<std::tuple<KELVO_EACH(HELD, __VA_ARGS__)>*>(nullptr), #name, s_pNext,        \
                    KELVO_NAMES(__VA_ARGS__));                                                               \
    }
#define ENTRY0(result, name)                                                                                 \
    extern "C" __attribute__((weak)) result name() {                                                         \
        NEXT(name);                                                                                          \
        return Pass(static_cast<std::tuple<>*>(nullptr), #name, s_pNext);                                    \
    }
#define EXTENSION(result, name, ...)
#define KELVO_GL_ALONE
#include "EntryPoints.def"
