#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <memory>
#include <vector>

namespace kelvokit::desktop {

/** Contexts of a program that have their textures in common. Guarded by the layer's work. */
struct ShareGroup {
    /** Of the layer, to be deleted as soon as one of the contexts is current. */
    std::vector<GLuint> unusedTextures;
};

/** Deletes them; one of the group's contexts is current. */
void DeleteUnusedTextures(ShareGroup& group);

/**
 * The OpenGL ES contexts that the program has made through the layer and not destroyed: those in which the
 * layer may work, too. A context of any but the plainest kind is left out: one that reports what is done in
 * it to the program's debug callback, for instance. It locks nothing.
 */
class ProgramContexts {
public:
    /** Whether a context that the calling thread makes with these attributes is not left out. */
    static bool Takes(EGLint const* attributes);
    /** Throws std::bad_alloc. */
    void Add(EGLDisplay display, EGLContext context, EGLContext share);
    void Remove(EGLDisplay display, EGLContext context);
    void RemoveAll(EGLDisplay display);
    /** The context's group; null when it is not known. */
    std::shared_ptr<ShareGroup> Find(EGLDisplay display, EGLContext context) const;

private:
    struct Entry {
        EGLDisplay display;
        EGLContext context;
        std::shared_ptr<ShareGroup> pGroup;
    };

    // A handful of entries: a linear search beats a map.
    std::vector<Entry> m_contexts;
};

/** What is current on the calling thread, as far as it became so through the layer. */
struct CurrentGroup {
    EGLDisplay display = EGL_NO_DISPLAY;
    /** Not kept alive: with the last of its contexts that was not destroyed it ends. */
    std::weak_ptr<ShareGroup> pGroup;
};

/** The calling thread's; for eglMakeCurrent and its like to set. */
CurrentGroup& GetCurrentGroup();

} // namespace kelvokit::desktop
