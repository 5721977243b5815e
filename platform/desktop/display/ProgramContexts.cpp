#include "display/ProgramContexts.h"

#include "buffers/ImageAlias.h"
#include "egl/EglDriver.h"

#include <EGL/eglext.h>

#include <algorithm>

namespace kelvokit::desktop {

void DeleteUnusedTextures(ShareGroup& group) {
    for (GLuint const texture : group.unusedTextures) {
        DeleteAlias(texture);
    }
    group.unusedTextures.clear();
}

bool ProgramContexts::Takes(EGLint const* attributes) {
    for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
        if (attributes[0] != EGL_CONTEXT_MAJOR_VERSION && attributes[0] != EGL_CONTEXT_MINOR_VERSION) {
            return false;
        }
    }
    return Driver().eglQueryAPI() == EGL_OPENGL_ES_API;
}

void ProgramContexts::Add(EGLDisplay display, EGLContext context, EGLContext share) {
    if (share == EGL_NO_CONTEXT) {
        m_contexts.push_back({display, context, std::make_shared<ShareGroup>()});
    } else if (auto pGroup = Find(display, share)) {
        m_contexts.push_back({display, context, std::move(pGroup)});
    }
}

void ProgramContexts::Remove(EGLDisplay display, EGLContext context) {
    m_contexts.erase(
        std::remove_if(m_contexts.begin(), m_contexts.end(),
                       [=](Entry const& each) { return each.display == display && each.context == context; }),
        m_contexts.end());
}

void ProgramContexts::RemoveAll(EGLDisplay display) {
    m_contexts.erase(std::remove_if(m_contexts.begin(), m_contexts.end(),
                                    [=](Entry const& each) { return each.display == display; }),
                     m_contexts.end());
}

std::shared_ptr<ShareGroup> ProgramContexts::Find(EGLDisplay display, EGLContext context) const {
    auto const found = std::find_if(m_contexts.begin(), m_contexts.end(), [=](Entry const& each) {
        return each.display == display && each.context == context;
    });
    return found != m_contexts.end() ? found->pGroup : nullptr;
}

CurrentGroup& GetCurrentGroup() {
    thread_local CurrentGroup t_current;
    return t_current;
}

} // namespace kelvokit::desktop
