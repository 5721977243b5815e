#include "report/Report.h"

#include "trevik/ScopeCounter.h"
#include "trevik/Statistics.h"

#include <EGL/egl.h>
#include <GLES2/gl2.h>
#include <kelvo_desktop/Display.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

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

/** What of a surface's configuration is told. */
struct SurfaceNumber {
    char const* pName;
    EGLint nAttribute;
};
constexpr SurfaceNumber SurfaceNumbers[] = {
    {"red", EGL_RED_SIZE},     {"green", EGL_GREEN_SIZE}, {"blue", EGL_BLUE_SIZE},
    {"alpha", EGL_ALPHA_SIZE}, {"depth", EGL_DEPTH_SIZE}, {"stencil", EGL_STENCIL_SIZE},
    {"samples", EGL_SAMPLES},
};

/** False when the current context does not tell. */
bool FindConfig(EGLDisplay display, EGLConfig& config) {
    EGLint nID = 0;
    eglQueryContext(display, eglGetCurrentContext(), EGL_CONFIG_ID, &nID);
    EGLint const wanted[] = {EGL_CONFIG_ID, nID, EGL_NONE};
    EGLint nConfigs = 0;
    return eglChooseConfig(display, wanted, &config, 1, &nConfigs) && nConfigs > 0;
}

std::vector<Extension> FindMissing(EGLDisplay display) {
    char const* const pGl = reinterpret_cast<char const*>(glGetString(GL_EXTENSIONS));
    char const* const pEgl = eglQueryString(display, EGL_EXTENSIONS);
    std::vector<Extension> missing;
    std::copy_if(
        std::begin(Extensions), std::end(Extensions), std::back_inserter(missing),
        [&](Extension const& extension) { return !HasWord(extension.fEgl ? pEgl : pGl, extension.pName); });
    return missing;
}

void PrintSurface(EGLDisplay display) {
    EGLConfig config = nullptr;
    if (!FindConfig(display, config)) {
        std::printf("surface     (unknown)\n");
        return;
    }
    std::printf("surface     red %d, green %d, blue %d, alpha %d, depth %d, stencil %d bits, %d samples\n",
                GetAttribute(display, config, EGL_RED_SIZE), GetAttribute(display, config, EGL_GREEN_SIZE),
                GetAttribute(display, config, EGL_BLUE_SIZE), GetAttribute(display, config, EGL_ALPHA_SIZE),
                GetAttribute(display, config, EGL_DEPTH_SIZE),
                GetAttribute(display, config, EGL_STENCIL_SIZE), GetAttribute(display, config, EGL_SAMPLES));
}

void PrintMissing(EGLDisplay display) {
    char const* pTitle = "missing   ";
    for (Extension const& extension : FindMissing(display)) {
        std::printf("%s  %s: no %s\n", pTitle, extension.pName, extension.pUse);
        pTitle = "          ";
    }
    if (*pTitle != ' ') {
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

struct Counter {
    std::string sName;
    long long nValue;
};

/** Those that have a name or have been counted. */
std::vector<Counter> GetCounters() {
    std::vector<Counter> counters;
    for (unsigned int nID = 0; nID < Statistics::MaximumStats; ++nID) {
        char const* const pName = Statistics::GetStatName(nID);
        long long const nValue = Statistics::Instance().GetStat(nID);
        if (pName || nValue != 0) {
            counters.push_back({pName ? pName : "counter " + std::to_string(nID), nValue});
        }
    }
    return counters;
}

struct Scope {
    std::string sName;
    ScopeTotals totals;
    ScopeFrameTimes times;
};

/** Those that have been run through. */
std::vector<Scope> GetScopes() {
    std::vector<Scope> scopes;
    for (unsigned int nID = 0; nID < ScopeCounter::MaximumIds; ++nID) {
        ScopeTotals const totals = ScopeCounter::GetTotals(nID);
        ScopeFrameTimes const times = ScopeCounter::GetFrameTimes(nID);
        if (totals.nCalls != 0 || times.nMaximum != 0) {
            scopes.push_back({GetScopeName(nID), totals, times});
        }
    }
    return scopes;
}

double GetPerFrame(ScopeTotals const& totals, unsigned int nFrames) {
    return static_cast<double>(totals.nCalls) / (nFrames ? nFrames : 1);
}

} // namespace

std::string GetRenderer() {
    return OrNone(glGetString(GL_RENDERER));
}

void PrintDriver() {
    EGLDisplay const display = eglGetCurrentDisplay();
    std::printf("display     %s\n", desktop::DescribeDisplay());
    std::printf("vendor      %s\n", OrNone(glGetString(GL_VENDOR)));
    std::printf("renderer    %s\n", GetRenderer().c_str());
    std::printf("version     %s\n", OrNone(glGetString(GL_VERSION)));
    PrintSurface(display);
    PrintMissing(display);
}

void PrintFigures(unsigned int nFrames, unsigned int nPictures) {
    std::printf("\n%-28s %12s\n", "counter", "value");
    for (Counter const& counter : GetCounters()) {
        std::printf("%-28s %12lld\n", counter.sName.c_str(), counter.nValue);
    }
    std::printf("\n%-28s %9s %9s %9s %9s %9s %9s\n", "scope", "calls", "per frame", "total ms", "median ms",
                "p95 ms", "p99 ms");
    for (Scope const& scope : GetScopes()) {
        std::printf("%-28s %9llu %9.1f %9.2f %9.3f %9.3f %9.3f\n", scope.sName.c_str(), scope.totals.nCalls,
                    GetPerFrame(scope.totals, nFrames), ToMilliseconds(scope.totals.nNanoseconds),
                    ToMilliseconds(scope.times.nMedian), ToMilliseconds(scope.times.nPercentile95),
                    ToMilliseconds(scope.times.nPercentile99));
    }
    if (nPictures > 0) {
        std::printf(
            "The time of a frame includes reading it back and writing or comparing its picture, for %u of "
            "%u.\n",
            nPictures, nFrames);
    }
}

void PrintJson(unsigned int nFrames, unsigned int nPictures) {
    EGLDisplay const display = eglGetCurrentDisplay();
    nlohmann::ordered_json report = {{"display", desktop::DescribeDisplay()},
                                     {"vendor", OrNone(glGetString(GL_VENDOR))},
                                     {"renderer", GetRenderer()},
                                     {"version", OrNone(glGetString(GL_VERSION))},
                                     {"surface", nullptr},
                                     {"missing", nlohmann::ordered_json::array()},
                                     {"frames", nFrames},
                                     {"pictures", nPictures},
                                     {"counters", nlohmann::ordered_json::object()},
                                     {"scopes", nlohmann::ordered_json::object()}};
    EGLConfig config = nullptr;
    if (FindConfig(display, config)) {
        for (SurfaceNumber const& number : SurfaceNumbers) {
            report["surface"][number.pName] = GetAttribute(display, config, number.nAttribute);
        }
    }
    for (Extension const& extension : FindMissing(display)) {
        report["missing"].push_back({{"extension", extension.pName}, {"use", extension.pUse}});
    }
    for (Counter const& counter : GetCounters()) {
        report["counters"][counter.sName] = counter.nValue;
    }
    for (Scope const& scope : GetScopes()) {
        report["scopes"][scope.sName] = {{"calls", scope.totals.nCalls},
                                         {"callsPerFrame", GetPerFrame(scope.totals, nFrames)},
                                         {"totalMilliseconds", ToMilliseconds(scope.totals.nNanoseconds)},
                                         {"medianMilliseconds", ToMilliseconds(scope.times.nMedian)},
                                         {"p95Milliseconds", ToMilliseconds(scope.times.nPercentile95)},
                                         {"p99Milliseconds", ToMilliseconds(scope.times.nPercentile99)}};
    }
    // A driver's names may be in any encoding.
    std::printf("%s\n", report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

} // namespace kelvokit::player
