#include "report/Driver.h"

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

nlohmann::ordered_json DescribeDriver() {
    EGLDisplay const display = eglGetCurrentDisplay();
    nlohmann::ordered_json driver = {{"display", desktop::DescribeDisplay()},
                                     {"vendor", OrNone(glGetString(GL_VENDOR))},
                                     {"renderer", GetRenderer()},
                                     {"version", OrNone(glGetString(GL_VERSION))},
                                     {"surface", nullptr},
                                     {"missing", nlohmann::ordered_json::array()}};
    EGLConfig config = nullptr;
    if (FindConfig(display, config)) {
        for (SurfaceNumber const& number : SurfaceNumbers) {
            driver["surface"][number.pName] = GetAttribute(display, config, number.nAttribute);
        }
    }
    for (Extension const& extension : FindMissing(display)) {
        driver["missing"].push_back({{"extension", extension.pName}, {"use", extension.pUse}});
    }
    return driver;
}

} // namespace kelvokit::player
