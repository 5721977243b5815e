#include "trace/FrameCapture.h"

#include "command/Options.h"
#include "command/Output.h"

#if defined(KELVO_HAS_RENDERDOC)

#include <dlfcn.h>
#include <renderdoc_app.h>

namespace kelvokit::player {

namespace {

/** What RenderDoc offers programs; null when they do not run under it. */
RENDERDOC_API_1_1_2 const* FindRenderDoc() {
    void* const pLibrary = dlopen("librenderdoc.so", RTLD_NOW | RTLD_NOLOAD);
    auto const pfnGet =
        pLibrary ? reinterpret_cast<pRENDERDOC_GetAPI>(dlsym(pLibrary, "RENDERDOC_GetAPI")) : nullptr;
    void* pFound = nullptr;
    return pfnGet && pfnGet(eRENDERDOC_API_Version_1_1_2, &pFound)
               ? static_cast<RENDERDOC_API_1_1_2 const*>(pFound)
               : nullptr;
}

} // namespace

FrameCapture::FrameCapture(bool fWanted) {
    RENDERDOC_API_1_1_2 const* const pRenderDoc = fWanted ? FindRenderDoc() : nullptr;
    if (pRenderDoc) {
        pRenderDoc->StartFrameCapture(nullptr, nullptr); // of whatever context there is
        m_fCapturing = true;
    }
}

FrameCapture::~FrameCapture() {
    if (!m_fCapturing) {
        return;
    }
    bool const fCaptured = FindRenderDoc()->EndFrameCapture(nullptr, nullptr) == 1;
    Complain(ExitSuccess, fCaptured ? "the last frame has been captured by RenderDoc"
                                    : "the last frame could not be captured by RenderDoc");
}

} // namespace kelvokit::player

#else

namespace kelvokit::player {

FrameCapture::FrameCapture(bool /*fWanted*/) {}
FrameCapture::~FrameCapture() = default;

} // namespace kelvokit::player

#endif
