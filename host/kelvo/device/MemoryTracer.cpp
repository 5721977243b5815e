#include "trevik/kelvo/MemoryTracer.h"

#include "trevik/kelvo/ITraceable.h"

#include <cstdint>

namespace trevik::kelvo {

namespace {

/**
 * The slot of `pObject` in a table whose size is a power of two: its own, or the free one where it belongs.
 */
unsigned int FindSlot(List<ITraceable*> const& table, ITraceable* pObject) {
    unsigned int const nMask = table.GetCount() - 1;
    // The low bits of addresses are alike; the multiplication spreads the others upwards.
    std::uint64_t const nHash = reinterpret_cast<std::uintptr_t>(pObject) * 0x9e3779b97f4a7c15ull;
    unsigned int nSlot = static_cast<unsigned int>(nHash >> 32) & nMask;
    while (table[nSlot] && table[nSlot] != pObject) {
        nSlot = (nSlot + 1) & nMask;
    }
    return nSlot;
}

} // namespace

ITraceable::~ITraceable() = default;

MemoryTracer::MemoryTracer() = default;

MemoryTracer::~MemoryTracer() = default;

void MemoryTracer::EmitObject(ITraceable* pObject) {
    if (pObject && Visit(pObject)) {
        pObject->Emit(this);
    }
}

/** Notes the object as seen; false when it was already, or cannot be noted. */
bool MemoryTracer::Visit(ITraceable* pObject) {
    if (m_nVisited >= m_visited.GetCount() / 2 && !GrowTable()) {
        return false;
    }
    ITraceable*& pSlot = m_visited[FindSlot(m_visited, pObject)];
    if (pSlot) {
        return false;
    }
    pSlot = pObject;
    ++m_nVisited;
    return true;
}

bool MemoryTracer::GrowTable() {
    List<ITraceable*> table;
    if (m_visited.GetCount() >= 0x80000000u ||
        !table.Resize(m_visited.IsEmpty() ? 64 : m_visited.GetCount() * 2)) {
        return false;
    }
    for (ITraceable* pObject : m_visited) {
        if (pObject) {
            table[FindSlot(table, pObject)] = pObject;
        }
    }
    m_visited.Swap(table);
    return true;
}

void MemoryTracer::EmitAllocation(unsigned int nBytes, MemoryType::Enum type) {
    if (type >= 0 && type < MemoryType::Count) {
        m_bytes[type] += nBytes;
        ++m_allocations[type];
    }
}

unsigned long long MemoryTracer::GetBytes(MemoryType::Enum type) const {
    return type >= 0 && type < MemoryType::Count ? m_bytes[type] : 0;
}

unsigned int MemoryTracer::GetAllocationCount(MemoryType::Enum type) const {
    return type >= 0 && type < MemoryType::Count ? m_allocations[type] : 0;
}

unsigned long long MemoryTracer::GetTotalBytes() const {
    unsigned long long nTotal = 0;
    for (unsigned long long nBytes : m_bytes) {
        nTotal += nBytes;
    }
    return nTotal;
}

} // namespace trevik::kelvo
