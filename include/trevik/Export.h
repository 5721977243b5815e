#pragma once

/**
 * Marks what libkelvo defines and others link to: functions, and classes with virtual operations (their
 * tables and type information must be one and the same in every library). It has no effect under the default
 * visibility; it matters in a library that hides its own names.
 *
 * Such a class also has a virtual operation that is defined in one of libkelvo's sources: the compiler puts
 * table and type information there, too. Without one each library gets its own, and where types are told by
 * the address of their information, as Clang's C++ library does, a dynamic_cast on another library's object
 * fails.
 */
#if defined(__GNUC__)
#define TREVIK_API __attribute__((visibility("default")))
#else
#define TREVIK_API
#endif

/** Keeps the rare half of an operation out of its callers, so that the frequent half stays small. */
#if defined(__GNUC__)
#define TREVIK_NOINLINE __attribute__((noinline))
#else
#define TREVIK_NOINLINE
#endif
