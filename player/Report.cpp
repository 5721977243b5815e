#include "Report.h"

#include "trevik/ScopeCounter.h"
#include "trevik/Statistics.h"

#include <EGL/egl.h>
#include <GLES2/gl2.h>
#include <kelvo_desktop/Display.h>

#include <cstdio>
#include <string>

namespace kelvokit::player {

using trevik::ScopeCounter;
using trevik::ScopeFrameTimes;
using trevik::ScopeTotals;
using trevik::Statistics;

namespace {

/** Extensions that the back end makes use of, and what does not work without them. */
struct Extension {
    char const* pName;
    bool fEgl;
    char const* pUse;
};
constexpr Extension Extensions[] = {
    {"GL_OES_compressed_ETC1_RGB8_texture", false, "ETC1 textures"},
    {"GL_AMD_compressed_ATC_texture", false, "ATC textures"},
    {"GL_OES_packed_depth_stencil", false, "masks inside effects"},
    {"GL_OES_depth_texture", false, "depth textures of frame targets"},
    {"GL_OES_texture_npot", false, "mip levels of textures whose sides are no powers of two"},
    {"GL_OES_EGL_image", false, "promoted textures"},
    {"EGL_KHR_image_base", true, "promoted textures"},
    {"EGL_ANDROID_image_native_buffer", true, "promoted textures"},
};

char const* OrNone(void const* pText) {
    return pText ? static_cast<char const*>(pText) : "(none)";
}

/** Whether a word stands in a list of words with spaces between them. */
bool HasWord(char const* pList, std::string const& word) {
    std::string const list = std::string(" ") + (pList ? pList : "") + " ";
    return list.find(" " + word + " ") != std::string::npos;
}

EGLint GetAttribute(EGLDisplay display, EGLConfig config, EGLint nName) {
    EGLint nValue = 0;
    eglGetConfigAttrib(display, config, nName, &nValue);
    return nValue;
}

void ReportSurface(EGLDisplay display) {
    EGLint nID = 0;
    eglQueryContext(display, eglGetCurrentContext(), EGL_CONFIG_ID, &nID);
    EGLint const wanted[] = {EGL_CONFIG_ID, nID, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint nConfigs = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &nConfigs) || nConfigs == 0) {
        std::printf("surface     (unknown)\n");
        return;
    }
    std::printf("surface     red %d, green %d, blue %d, alpha %d, depth %d, stencil %d bits, %d samples\n",
                GetAttribute(display, config, EGL_RED_SIZE), GetAttribute(display, config, EGL_GREEN_SIZE),
                GetAttribute(display, config, EGL_BLUE_SIZE), GetAttribute(display, config, EGL_ALPHA_SIZE),
                GetAttribute(display, config, EGL_DEPTH_SIZE),
                GetAttribute(display, config, EGL_STENCIL_SIZE), GetAttribute(display, config, EGL_SAMPLES));
}

void ReportMissing(EGLDisplay display) {
    char const* const pGl = reinterpret_cast<char const*>(glGetString(GL_EXTENSIONS));
    char const* const pEgl = eglQueryString(display, EGL_EXTENSIONS);
    bool fMissing = false;
    for (Extension const& extension : Extensions) {
        if (!HasWord(extension.fEgl ? pEgl : pGl, extension.pName)) {
            std::printf("%s  %s: no %s\n", fMissing ? "          " : "missing   ", extension.pName,
                        extension.pUse);
            fMissing = true;
        }
    }
    if (!fMissing) {
        std::printf("missing     no extension that is made use of\n");
    }
}

double ToMilliseconds(unsigned long long nNanoseconds) {
    return static_cast<double>(nNanoseconds) / 1e6;
}

std::string GetScopeName(unsigned int nID) {
    char const* const pName = ScopeCounter::GetName(nID);
    return pName ? pName : "scope " + std::to_string(nID);
}

} // namespace

void ReportDriver() {
    EGLDisplay const display = eglGetCurrentDisplay();
    std::printf("display     %s\n", desktop::DescribeDisplay());
    std::printf("vendor      %s\n", OrNone(glGetString(GL_VENDOR)));
    std::printf("renderer    %s\n", OrNone(glGetString(GL_RENDERER)));
    std::printf("version     %s\n", OrNone(glGetString(GL_VERSION)));
    ReportSurface(display);
    ReportMissing(display);
}

void ReportFigures(unsigned int nFrames, unsigned int nPictures) {
    std::printf("\n%-28s %12s\n", "counter", "value");
    for (unsigned int nID = 0; nID < Statistics::MaximumStats; ++nID) {
        char const* const pName = Statistics::GetStatName(nID);
        long long const nValue = Statistics::Instance().GetStat(nID);
        if (pName || nValue != 0) {
            std::printf("%-28s %12lld\n", pName ? pName : ("counter " + std::to_string(nID)).c_str(), nValue);
        }
    }
    std::printf("\n%-28s %9s %9s %9s %9s %9s %9s\n", "scope", "calls", "per frame", "total ms", "median ms",
                "p95 ms", "p99 ms");
    for (unsigned int nID = 0; nID < ScopeCounter::MaximumIds; ++nID) {
        ScopeTotals const totals = ScopeCounter::GetTotals(nID);
        ScopeFrameTimes const times = ScopeCounter::GetFrameTimes(nID);
        if (totals.nCalls == 0 && times.nMaximum == 0) {
            continue;
        }
        std::printf("%-28s %9llu %9.1f %9.2f %9.3f %9.3f %9.3f\n", GetScopeName(nID).c_str(), totals.nCalls,
                    static_cast<double>(totals.nCalls) / (nFrames ? nFrames : 1),
                    ToMilliseconds(totals.nNanoseconds), ToMilliseconds(times.nMedian),
                    ToMilliseconds(times.nPercentile95), ToMilliseconds(times.nPercentile99));
    }
    if (nPictures > 0) {
        std::printf("The time of a frame includes reading it back and writing its picture, for %u of %u.\n",
                    nPictures, nFrames);
    }
}

} // namespace kelvokit::player
