#pragma once

/** Marks what libkelvo_desktop shows to its users; everything else in it is hidden. */
#define KELVO_DESKTOP_API __attribute__((visibility("default")))
