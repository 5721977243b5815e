#include "window/WaylandSeat.h"

#include <wayland-client.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kelvokit::player {

namespace {

extern "C" void NoteGlobal(void* pSeats, wl_registry* /*pRegistry*/, std::uint32_t /*nName*/,
                           char const* pInterface, std::uint32_t /*nVersion*/) {
    *static_cast<int*>(pSeats) += std::strcmp(pInterface, wl_seat_interface.name) == 0 ? 1 : 0;
}

extern "C" void ForgetGlobal(void* /*pSeats*/, wl_registry* /*pRegistry*/, std::uint32_t /*nName*/) {}

} // namespace

bool IsSeatMissing() {
    // A connection that is handed over serves once.
    wl_display* const pDisplay = std::getenv("WAYLAND_SOCKET") ? nullptr : wl_display_connect(nullptr);
    if (!pDisplay) {
        return false;
    }
    int nSeats = 0;
    wl_registry_listener const listener = {NoteGlobal, ForgetGlobal};
    wl_registry* const pRegistry = wl_display_get_registry(pDisplay);
    wl_registry_add_listener(pRegistry, &listener, &nSeats);
    bool const fTold = wl_display_roundtrip(pDisplay) >= 0;
    wl_registry_destroy(pRegistry);
    wl_display_disconnect(pDisplay);
    return fTold && nSeats == 0;
}

} // namespace kelvokit::player
