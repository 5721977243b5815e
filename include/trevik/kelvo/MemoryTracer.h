#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"

namespace trevik::kelvo {

class ITraceable;

/** What a reported block of memory is used for. */
struct MemoryType {
    enum Enum {
        Object = 0,   ///< a scene object itself
        Text = 1,     ///< strings
        Geometry = 2, ///< vertices and indices
        Texture = 3,  ///< pixel data
        Font = 4,     ///< glyph tables
        Property = 5, ///< property controllers and their samples
        Count = 6
    };
};

/**
 * Adds up the memory of a tree of traceable objects, by type. Each object is visited once however often it is
 * shared. The whole of one trace happens on one thread.
 */
class TREVIK_API MemoryTracer {
public:
    MemoryTracer();
    ~MemoryTracer();
    MemoryTracer(MemoryTracer const&) = delete;
    MemoryTracer& operator=(MemoryTracer const&) = delete;

    /**
     * Reports a sub-object: calls its Emit unless this trace has seen it already. Null is ignored, and so is
     * an object that cannot be noted as seen for lack of memory.
     */
    void EmitObject(ITraceable* pObject);

    /** Reports a block of `nBytes` bytes owned by the object being emitted. */
    void EmitAllocation(unsigned int nBytes, MemoryType::Enum type);

    /** Bytes reported under `type` so far. */
    unsigned long long GetBytes(MemoryType::Enum type) const;
    /** Blocks reported under `type` so far. */
    unsigned int GetAllocationCount(MemoryType::Enum type) const;
    /** Bytes of all types. */
    unsigned long long GetTotalBytes() const;

private:
    bool Visit(ITraceable* pObject);
    bool GrowTable();

    unsigned long long m_bytes[MemoryType::Count] = {};
    unsigned int m_allocations[MemoryType::Count] = {};
    List<ITraceable*> m_visited; ///< hash table of the objects seen, half empty at least; null where free
    unsigned int m_nVisited = 0;
};

} // namespace trevik::kelvo
