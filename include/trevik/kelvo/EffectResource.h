#pragma once

#include "trevik/Export.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

class GraphicsDevice;

/** Base of what all effects of one kind share on a device: one object per device and resource class. */
class TREVIK_API EffectResource : public Referenced {
public:
    /** Creates the resource's GL objects. Render thread. The base creates nothing and returns true. */
    virtual bool Init(GraphicsDevice& device);
};

} // namespace trevik::kelvo
