#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace kelvokit::desktop {

/** Contexts of a program that have their textures in common. Guarded by the layer's work. */
struct ShareGroup {
    /** From 1 on; no other group ever has it. */
    std::uint64_t nNumber;
    /** Of the layer, to be deleted as soon as one of the contexts is current. */
    std::vector<GLuint> unusedTextures;
};

/** Deletes them, where the current context, which is one of the group's, is fit for it. */
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
    /** The group of that number; null once the last of its contexts was destroyed. */
    std::shared_ptr<ShareGroup> Find(std::uint64_t nGroup) const;

private:
    struct Entry {
        EGLDisplay display;
        EGLContext context;
        std::shared_ptr<ShareGroup> pGroup;
    };

    // A handful of entries: a linear search beats a map.
    std::vector<Entry> m_contexts;
    std::uint64_t m_nGroups = 0; // all that there ever were
};

/**
 * What a thread last made current through the layer. Nothing in it has to be destroyed: destructors of static
 * objects, and of what a thread keeps, call EGL when a thread's own objects are gone.
 */
struct ThreadContext {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    std::uint64_t nGroup = 0; ///< 0 for none that is known
};

/** The calling thread's; for eglMakeCurrent and its like to set. */
ThreadContext& GetThreadContext();

/** Whether the driver has it current, too: libraries that know the driver's EGL only may have changed that.
 */
bool IsCurrent(ThreadContext const& context);

} // namespace kelvokit::desktop
