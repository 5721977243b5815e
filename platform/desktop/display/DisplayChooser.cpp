#include "display/DisplayChooser.h"

#include "display/Layer.h"
#include "egl/EglConfigs.h"
#include "egl/EglDriver.h"
#include "kelvo_desktop/Display.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace kelvokit::desktop {

namespace {

/** What SelectPlatform's words mean, or SelectWayland's connection. */
struct Wish {
    enum Kind { Automatic, Surfaceless, AnyDevice, OneDevice, X11, Wayland };
    Kind kind = Automatic;
    int device = 0;
    void* connection = nullptr;

    bool operator==(Wish const& other) const {
        return kind == other.kind && device == other.device && connection == other.connection;
    }
};

/** A display worth trying. */
struct Candidate {
    EGLDisplay display;
    DisplayKind kind;
    std::string sName;
};

struct Chooser {
    std::mutex mutex;
    // Set by SelectPlatform; Automatic leaves the choice to the environment.
    Wish selected;
    EGLDisplay chosen = EGL_NO_DISPLAY;
    Wish chosenFor;
    std::string sDescription = "none: eglGetDisplay has not been called";
};

Chooser& TheChooser() {
    // Not destroyed at exit: EGL may be called by destructors of static objects.
    static Chooser* const s_pChooser = new Chooser;
    return *s_pChooser;
}

bool ParseWish(char const* words, Wish& wish) {
    static char const s_devicePrefix[] = "device:";
    std::size_t const nPrefix = sizeof s_devicePrefix - 1;
    wish = Wish();
    if (!words || !*words) {
        return true;
    }
    if (std::strcmp(words, "surfaceless") == 0) {
        wish.kind = Wish::Surfaceless;
    } else if (std::strcmp(words, "device") == 0) {
        wish.kind = Wish::AnyDevice;
    } else if (std::strcmp(words, "x11") == 0) {
        wish.kind = Wish::X11;
    } else if (std::strncmp(words, s_devicePrefix, nPrefix) == 0) {
        std::string const sIndex = words + nPrefix;
        if (sIndex.empty() || sIndex.size() > 4 ||
            sIndex.find_first_not_of("0123456789") != std::string::npos) {
            return false;
        }
        wish.kind = Wish::OneDevice;
        wish.device = std::stoi(sIndex);
    } else {
        return false;
    }
    return true;
}

EGLDisplay PlatformDisplay(EGLenum platform, void* native) {
    if (Driver().eglGetPlatformDisplay) {
        return Driver().eglGetPlatformDisplay(platform, native, nullptr);
    }
    auto const getPlatformDisplay =
        DriverFunction<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
    return getPlatformDisplay ? getPlatformDisplay(platform, native, nullptr) : EGL_NO_DISPLAY;
}

/** The displays of all devices that fit `wish`, hardware first. */
std::vector<Candidate> DeviceCandidates(Wish const& wish, bool fHardware, bool fSoftware) {
    std::vector<Candidate> candidates;
    auto const queryDevices = DriverFunction<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
    auto const queryString = DriverFunction<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
    EGLint nFound = 0;
    if (!queryDevices || !queryString || !queryDevices(0, nullptr, &nFound) || nFound <= 0) {
        return candidates;
    }
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(nFound));
    if (!queryDevices(nFound, devices.data(), &nFound)) {
        return candidates;
    }
    // There may be fewer devices now than were counted; of more, the list holds as many as were counted.
    std::size_t const nDevices = std::min(devices.size(), static_cast<std::size_t>(nFound));
    for (bool const fSoftwareTurn : {false, true}) {
        for (std::size_t nDevice = 0; nDevice < nDevices; ++nDevice) {
            bool const fIsSoftware =
                HasExtension(queryString(devices[nDevice], EGL_EXTENSIONS), "EGL_MESA_device_software");
            bool const fWanted = fIsSoftware ? fSoftware : fHardware;
            bool const fIsIndex =
                wish.kind != Wish::OneDevice || static_cast<std::size_t>(wish.device) == nDevice;
            if (fIsSoftware == fSoftwareTurn && fWanted && fIsIndex) {
                candidates.push_back({PlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[nDevice]),
                                      DisplayKind::Offscreen, "device:" + std::to_string(nDevice)});
            }
        }
    }
    return candidates;
}

std::vector<Candidate> Candidates(Wish const& wish) {
    std::vector<Candidate> candidates;
    bool const fAutomatic = wish.kind == Wish::Automatic;
    bool const fDevice = wish.kind == Wish::AnyDevice || wish.kind == Wish::OneDevice;
    if (fAutomatic || fDevice) {
        candidates = DeviceCandidates(wish, true, fDevice);
    }
    if (fAutomatic || wish.kind == Wish::Surfaceless) {
        candidates.push_back({PlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY),
                              DisplayKind::Offscreen, "surfaceless"});
    }
    if (fAutomatic) {
        for (Candidate& candidate : DeviceCandidates(wish, false, true)) {
            candidates.push_back(std::move(candidate));
        }
    }
    if (wish.kind == Wish::X11) {
        candidates.push_back(
            {PlatformDisplay(EGL_PLATFORM_X11_EXT, EGL_DEFAULT_DISPLAY), DisplayKind::X11, "x11"});
    }
    if (wish.kind == Wish::Wayland) {
        candidates.push_back(
            {PlatformDisplay(EGL_PLATFORM_WAYLAND_EXT, wish.connection), DisplayKind::Wayland, "wayland"});
    }
    return candidates;
}

/** Whether the display of `candidate` comes up and offers a configuration; describes it if so, and with
   `fKeep` leaves it initialised. */
bool Try(Candidate const& candidate, bool fKeep, std::string& sDescription) {
    EglDriver const& egl = Driver();
    if (candidate.display == EGL_NO_DISPLAY) {
        return false;
    }
    // By the program, or by a library that calls the driver's EGL directly. A display does not count how
    // often it was initialised: to terminate it here would end it for them, too.
    bool const fInUse = egl.eglQueryString(candidate.display, EGL_VERSION) != nullptr;
    if (!fInUse && !egl.eglInitialize(candidate.display, nullptr, nullptr)) {
        return false;
    }
    bool const fWorks = !OfferedConfigs(candidate.display, candidate.kind).empty();
    if (fWorks) {
        char const* vendor = egl.eglQueryString(candidate.display, EGL_VENDOR);
        char const* version = egl.eglQueryString(candidate.display, EGL_VERSION);
        sDescription = candidate.sName + ": " + (vendor ? vendor : "unknown vendor") + ", EGL " +
                       (version ? version : "of unknown version");
    }
    if (!fInUse && !(fWorks && fKeep)) {
        egl.eglTerminate(candidate.display);
    }
    return fWorks;
}

EGLDisplay Refuse(Chooser& chooser, std::string const& sReason) {
    chooser.chosen = EGL_NO_DISPLAY;
    chooser.sDescription = "none: " + sReason;
    return EGL_NO_DISPLAY;
}

/** With the chooser's lock. `fKeep`: a display that is tried is left initialised. */
EGLDisplay Choose(Chooser& chooser, bool fKeep) {
    Wish wish = chooser.selected;
    char const* const environment = std::getenv("KELVO_EGL_PLATFORM");
    if (wish.kind == Wish::Automatic && !ParseWish(environment, wish)) {
        return Refuse(chooser, std::string("KELVO_EGL_PLATFORM is \"") + environment +
                                   "\", not surfaceless, device, device:N or x11");
    }
    if (chooser.chosen != EGL_NO_DISPLAY && chooser.chosenFor == wish) {
        return chooser.chosen;
    }
    if (Driver().failure) {
        return Refuse(chooser, Driver().failure);
    }
    for (Candidate const& candidate : Candidates(wish)) {
        if (!Try(candidate, fKeep, chooser.sDescription)) {
            continue;
        }
        Layer::Get().SetKind(candidate.display, candidate.kind);
        chooser.chosen = candidate.display;
        chooser.chosenFor = wish;
        return chooser.chosen;
    }
    return Refuse(chooser, "no display of the wanted platform initialises and has configurations");
}

} // namespace

EGLDisplay ChooseDefaultDisplay() {
    Chooser& chooser = TheChooser();
    std::lock_guard<std::mutex> lock(chooser.mutex);
    return Choose(chooser, false);
}

void* StartDisplay() {
    return Guarded([]() -> void* {
        KeptError const error;
        Chooser& chooser = TheChooser();
        std::unique_lock<std::mutex> lock(chooser.mutex);
        EGLDisplay const display = Choose(chooser, true);
        // It may have been chosen before, and be known alone.
        if (display == EGL_NO_DISPLAY || !Driver().eglInitialize(display, nullptr, nullptr)) {
            return nullptr;
        }
        lock.unlock();
        // The first context takes a driver longer than others.
        Layer::Get().CanDraw(display, 1, 1);
        return display;
    });
}

std::unique_lock<std::mutex> HoldDisplays() {
    return std::unique_lock<std::mutex>(TheChooser().mutex);
}

bool SelectPlatform(char const* platform) {
    Wish wish;
    if (!ParseWish(platform, wish)) {
        return false;
    }
    Chooser& chooser = TheChooser();
    std::lock_guard<std::mutex> lock(chooser.mutex);
    chooser.selected = wish;
    return true;
}

void SelectWayland(void* connection) {
    Chooser& chooser = TheChooser();
    std::lock_guard<std::mutex> lock(chooser.mutex);
    chooser.selected = Wish();
    chooser.selected.kind = Wish::Wayland;
    chooser.selected.connection = connection;
}

char const* DescribeDisplay() {
    Chooser& chooser = TheChooser();
    std::lock_guard<std::mutex> lock(chooser.mutex);
    return chooser.sDescription.c_str();
}

} // namespace kelvokit::desktop
