#pragma once

#include "buffers/BufferContents.h"
#include "buffers/OwnedTexture.h"
#include "egl/EglError.h"

#include <GLES2/gl2.h>
#include <system/window.h>

#include <cstddef>

namespace kelvokit::desktop {

/** Whether GL has a texture format for the buffer's pixels. */
bool IsUploadable(ANativeWindowBuffer const& buffer);

/** Whether the pixels have to be rewritten before GL takes them; `fRowLength` as for UploadPixels. */
bool IsPacked(ANativeWindowBuffer const& buffer, bool fRowLength);

/** Bytes from one row to the next, as GL is given them. */
std::size_t RowSpan(ANativeWindowBuffer const& buffer, bool fRowLength);

/**
 * Allocates what UploadPixels needs, once in the buffer's life; `fRowLength` as there. EGL_BAD_ALLOC without
 * memory.
 */
Outcome PrepareUpload(ANativeWindowBuffer const& buffer, bool fRowLength);

/**
 * A new texture of the buffer's size and format, of undefined contents; none when GL has no memory for it.
 */
OwnedTexture CreateTextureFor(ANativeWindowBuffer const& buffer);

/**
 * Puts the buffer's pixels into the texture, first row at t = 0; complete, for other contexts too, on return.
 * `fRowLength`: the current context understands GL_UNPACK_ROW_LENGTH. EGL_BAD_ALLOC when GL cannot.
 */
Outcome UploadPixels(ANativeWindowBuffer const& buffer, GLuint texture, bool fRowLength);

/**
 * The same into the texture that is bound, with the context's pixel store as it has to be: rows beginning at
 * any byte, and a stride apart unless they are packed. Whether it was done and complete is not asked.
 */
void UploadBound(ANativeWindowBuffer const& buffer, bool fRowLength);

} // namespace kelvokit::desktop
