#pragma once

namespace trevik {
class ClassRegistry;
}

namespace trevik::kelvo {

class GraphicsDevice;

/**
 * Types of a back end's exported entry points, whose plain symbol names are "Initialize", "CreateDevice",
 * "Shutdown".
 */
struct Plugin {
    /**
     * Registers the back end's classes; the registry takes the containers over. Touches neither EGL nor GL.
     */
    typedef bool (*InitializeFunction)(ClassRegistry* pRegistry);
    /** A new graphics device, owned by the caller. */
    typedef GraphicsDevice* (*CreateDeviceFunction)();
    /** Takes back what Initialize did, after the last device and object are gone. */
    typedef void (*ShutdownFunction)();
};

} // namespace trevik::kelvo
