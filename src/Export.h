#pragma once

/** Marks a name that this library exports; all others are hidden. */
#if defined(__GNUC__)
#define KELVO_EXPORT __attribute__((visibility("default")))
/** Marks a member of an exported class that is hidden all the same. */
#define KELVO_LOCAL __attribute__((visibility("hidden")))
#else
#define KELVO_EXPORT
#define KELVO_LOCAL
#endif
