#pragma once

#include <cstdint>

namespace trevik {
class ClassRegistry;
namespace kelvo {
class GraphicsDevice;
}
} // namespace trevik

/**
 * What the library exports under plain names. Applications that link it call these; others find the first
 * three by name (trevik/kelvo/Plugin.h).
 */
extern "C" {

/**
 * Registers the classes that the library implements, each under its host name; the registry takes their
 * containers over. True; neither EGL nor GL is called.
 */
bool Initialize(trevik::ClassRegistry* pRegistry);
/** A new device, owned by the caller; its Initialize brings it up. Null without memory. */
trevik::kelvo::GraphicsDevice* CreateDevice();
/** To be called after the last device and object are gone. Does nothing: they belong to the host. */
void Shutdown();

/** The version as text, "major.minor.build"; static storage. */
char const* GetTrevikVersion();
/** The first number of the version. */
std::int32_t GetTrevikVersionMajor();
/** The second number of the version, which counts driver interfaces. */
std::int32_t GetTrevikVersionMinor();
/** The third number of the version. */
std::int32_t GetTrevikVersionBuild();
/** The three run together: (major * 10000 + minor) * 100 + build. */
std::int32_t GetTrevikVersionStamp();

} // extern "C"
