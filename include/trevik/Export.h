#pragma once

/**
 * Marks what libkelvo defines and others link to: functions, and classes with virtual operations (their
 * tables and type information must be one and the same in every library). It has no effect under the default
 * visibility; it matters in a library that hides its own names.
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
