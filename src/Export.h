#pragma once

/** Marks what this library shows to those who link it; every other name stays inside. */
#if defined(__GNUC__)
#define KELVO_EXPORT __attribute__((visibility("default")))
#else
#define KELVO_EXPORT
#endif
