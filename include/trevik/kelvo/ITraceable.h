#pragma once

#include "trevik/Export.h"

namespace trevik::kelvo {

class MemoryTracer;

/**
 * Secondary base of every node, font, texture, effect and controller class: an object that can report its
 * memory.
 */
class TREVIK_API ITraceable {
public:
    virtual ~ITraceable();

    /**
     * Reports the object's own blocks and its sub-objects to `pTracer`. Any thread, while no other one
     * uses the object.
     */
    virtual void Emit(MemoryTracer* pTracer) = 0;
};

} // namespace trevik::kelvo
