#include "display/ProgramContexts.h"

#include "buffers/ImageAlias.h"
#include "egl/EglError.h"

#include <EGL/eglext.h>

#include <algorithm>
#include <type_traits>

namespace kelvokit::desktop {

void DeleteUnusedTextures(ShareGroup& group) {
    if (group.unusedTextures.empty() || !CanUseAliases()) {
        return;
    }
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
        m_contexts.push_back({display, context, std::make_shared<ShareGroup>(ShareGroup{++m_nGroups, {}})});
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

std::shared_ptr<ShareGroup> ProgramContexts::Find(std::uint64_t nGroup) const {
    auto const found = std::find_if(m_contexts.begin(), m_contexts.end(),
                                    [=](Entry const& each) { return each.pGroup->nNumber == nGroup; });
    return found != m_contexts.end() ? found->pGroup : nullptr;
}

ThreadContext& GetThreadContext() {
    static_assert(std::is_trivially_destructible_v<ThreadContext>);
    thread_local ThreadContext t_context;
    return t_context;
}

bool IsCurrent(ThreadContext const& context) {
    KeptError const error;
    return Driver().eglGetCurrentContext() == context.context &&
           Driver().eglGetCurrentDisplay() == context.display;
}

} // namespace kelvokit::desktop
