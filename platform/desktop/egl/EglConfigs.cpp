#include "egl/EglConfigs.h"

#include "egl/EglError.h"

#include <algorithm>

namespace kelvokit::desktop {

namespace {

/** What the driver's configuration must be able to do, for windows of a display of `kind`. An off-screen
   window is a pixel buffer, which drivers for Wayland do not have. */
EGLint NeededSurfaceTypes(DisplayKind kind) {
    switch (kind) {
    case DisplayKind::X11:
        return EGL_PBUFFER_BIT | EGL_WINDOW_BIT;
    case DisplayKind::Wayland:
        return EGL_WINDOW_BIT;
    default:
        return EGL_PBUFFER_BIT;
    }
}

/** Rewrites a wish for windows, which is also what a list without EGL_SURFACE_TYPE wishes, for the driver. */
std::vector<EGLint> DriverAttributes(EGLint const* attributes, DisplayKind kind) {
    std::vector<EGLint> result;
    EGLint nSurfaceTypes = EGL_WINDOW_BIT;
    for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
        if (attributes[0] == EGL_SURFACE_TYPE) {
            nSurfaceTypes = attributes[1];
        } else {
            result.insert(result.end(), {attributes[0], attributes[1]});
        }
    }
    if (nSurfaceTypes != EGL_DONT_CARE && (nSurfaceTypes & EGL_WINDOW_BIT)) {
        nSurfaceTypes = (nSurfaceTypes & ~EGL_WINDOW_BIT) | NeededSurfaceTypes(kind);
    }
    result.insert(result.end(), {EGL_SURFACE_TYPE, nSurfaceTypes, EGL_NONE});
    return result;
}

/**
 * The driver's answer in full: `query(configs, size, &count)` is one of its two functions that list configs.
 */
template <class Query>
bool ListAll(Query query, std::vector<EGLConfig>& configs) {
    EGLint nCount = 0;
    if (!query(nullptr, 0, &nCount)) {
        return false;
    }
    configs.resize(static_cast<std::size_t>(nCount));
    if (nCount > 0 && !query(configs.data(), nCount, &nCount)) {
        return false;
    }
    configs.resize(static_cast<std::size_t>(nCount));
    return true;
}

bool ListAllOfDisplay(EGLDisplay display, std::vector<EGLConfig>& configs) {
    return ListAll([display](EGLConfig* all, EGLint nSize,
                             EGLint* nCount) { return Driver().eglGetConfigs(display, all, nSize, nCount); },
                   configs);
}

/** Answers the caller: all of `all` that is offered, as far as it fits. */
EGLBoolean Deliver(std::vector<EGLConfig> const& all, EGLDisplay display, DisplayKind kind,
                   EGLConfig* configs, EGLint size, EGLint* count) {
    EGLint nCount = 0;
    for (EGLConfig config : all) {
        if (configs && nCount >= size) {
            break;
        }
        if (!IsOffered(display, kind, config)) {
            continue;
        }
        if (configs) {
            configs[nCount] = config;
        }
        ++nCount;
    }
    *count = nCount;
    return Succeed();
}

} // namespace

bool IsOffered(EGLDisplay display, DisplayKind kind, EGLConfig config) {
    auto const attribute = [display, config](EGLint nName) {
        EGLint nValue = 0;
        Driver().eglGetConfigAttrib(display, config, nName, &nValue);
        return nValue;
    };
    EGLint const nNeeded = NeededSurfaceTypes(kind);
    if ((attribute(EGL_SURFACE_TYPE) & nNeeded) != nNeeded ||
        attribute(EGL_COLOR_BUFFER_TYPE) != EGL_RGB_BUFFER) {
        return false;
    }
    EGLint const sizes[4] = {attribute(EGL_RED_SIZE), attribute(EGL_GREEN_SIZE), attribute(EGL_BLUE_SIZE),
                             attribute(EGL_ALPHA_SIZE)};
    static constexpr EGLint s_offered[][4] = {{5, 6, 5, 0}, {8, 8, 8, 0}, {8, 8, 8, 8}};
    return std::any_of(std::begin(s_offered), std::end(s_offered), [&sizes](EGLint const(&offered)[4]) {
        return std::equal(std::begin(sizes), std::end(sizes), offered);
    });
}

std::vector<EGLConfig> OfferedConfigs(EGLDisplay display, DisplayKind kind) {
    std::vector<EGLConfig> configs;
    ListAllOfDisplay(display, configs);
    configs.erase(std::remove_if(configs.begin(), configs.end(),
                                 [&](EGLConfig config) { return !IsOffered(display, kind, config); }),
                  configs.end());
    return configs;
}

EGLBoolean ChooseConfigs(EGLDisplay display, DisplayKind kind, EGLint const* attributes, EGLConfig* configs,
                         EGLint size, EGLint* count) {
    UseDriverError();
    // The driver finds this error too, but only after an invalid display: it is asked first.
    if (!count) {
        return Driver().eglChooseConfig(display, attributes, configs, size, count);
    }
    std::vector<EGLint> const driverAttributes = DriverAttributes(attributes, kind);
    std::vector<EGLConfig> all;
    auto const query = [&](EGLConfig* matching, EGLint nSize, EGLint* nCount) {
        return Driver().eglChooseConfig(display, driverAttributes.data(), matching, nSize, nCount);
    };
    return ListAll(query, all) ? Deliver(all, display, kind, configs, size, count) : EGL_FALSE;
}

EGLBoolean GetConfigs(EGLDisplay display, DisplayKind kind, EGLConfig* configs, EGLint size, EGLint* count) {
    UseDriverError();
    if (!count) {
        return Driver().eglGetConfigs(display, configs, size, count);
    }
    std::vector<EGLConfig> all;
    return ListAllOfDisplay(display, all) ? Deliver(all, display, kind, configs, size, count) : EGL_FALSE;
}

EGLBoolean GetConfigAttribute(EGLDisplay display, DisplayKind kind, EGLConfig config, EGLint attribute,
                              EGLint* value) {
    UseDriverError();
    if (!Driver().eglGetConfigAttrib(display, config, attribute, value)) {
        return EGL_FALSE;
    }
    if (attribute == EGL_SURFACE_TYPE && IsOffered(display, kind, config)) {
        *value |= EGL_WINDOW_BIT;
    }
    return EGL_TRUE;
}

} // namespace kelvokit::desktop
