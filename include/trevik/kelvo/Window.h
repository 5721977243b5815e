#pragma once

#include "trevik/Referenced.h"

namespace trevik::kelvo {

/**
 * The host's window object, as handed (by pointer, through `void*`) to GraphicsDevice::Initialize and Reset.
 * Its base NativeWindow is the platform's own window structure: the back end converts the pointer to that
 * base and gives it to EGL. Applications derive from WindowT and pass a WindowT pointer, never a pointer to a
 * further class.
 */
template <class NativeWindow>
class WindowT : public Referenced, public NativeWindow {};

} // namespace trevik::kelvo
