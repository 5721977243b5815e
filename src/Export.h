#pragma once

/** Marks what this library shows to those who link it; every other name stays inside. */
#if defined(__GNUC__)
#define KELVO_EXPORT __attribute__((visibility("default")))
/** Marks the members of shown classes that stay inside all the same. */
#define KELVO_LOCAL __attribute__((visibility("hidden")))
#else
#define KELVO_EXPORT
#define KELVO_LOCAL
#endif
