#pragma once

/** Marks what one of the platform's libraries shows to the others; everything else in it is hidden. */
#define ANDROID_API __attribute__((visibility("default")))
