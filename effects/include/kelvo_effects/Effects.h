#pragma once

#include "trevik/Export.h"

namespace trevik {
class ClassRegistry;
}

extern "C" {

/**
 * Registers the classes of libkelvo_effects under their names, beside those of the back end: scenes name
 * them, and the registry creates them. Neither EGL nor GL is called. False without memory. An application
 * that loads its back end as a plug-in can find this function by its name, too, once libkelvoGLES20 is there.
 */
TREVIK_API bool KelvoRegisterEffects(trevik::ClassRegistry* pRegistry);

} // extern "C"
