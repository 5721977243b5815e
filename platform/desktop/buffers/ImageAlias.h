#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>
#include <system/window.h>

namespace kelvokit::desktop {

// A texture that the layer makes of one of its images in a context of the program, so that a thread can fill
// the image without leaving that context: to go and come back takes three times as long as a small upload.
// All of this is for a current context of the program's, or of the layer's, and leaves its state as it was,
// the error flags included: these are never read, since that would take them away from the program.

/**
 * Whether textures may be made and deleted now: not while one is bound that a context which shares it has
 * deleted. To bind another one in its place would be the end of it.
 */
bool CanUseAliases();
/**
 * Whether a context is current of which UploadToAlias itself can tell, by the texture, whether it is the
 * right one: it need not be known to be the program's then. False, too, where only EGL may be asked whether
 * there is any.
 */
bool CanFindAlias();

/**
 * A new texture of `image`, with a name that no texture of the layer has had; 0 where the context cannot tell
 * that it is one of `width` by `height` pixels (before OpenGL ES 3.1), or it is not.
 */
GLuint CreateAlias(EGLImage image, GLsizei width, GLsizei height);

/**
 * Deletes it, unless the program has deleted it and the name is another's by now. A program does that to all
 * names in a range.
 */
void DeleteAlias(GLuint texture);

/**
 * Puts the buffer's pixels into the texture of an image that has its size and format, complete for other
 * contexts, too, on return. False, with nothing done, where the texture is not there any more, none of the
 * contexts that know it is current, or CanUseAliases would not be.
 */
bool UploadToAlias(ANativeWindowBuffer const& buffer, GLuint texture);

} // namespace kelvokit::desktop
