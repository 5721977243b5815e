#include "kelvo/properties/PropertyShape.h"

#include "trevik/Immortal.h"
#include "trevik/Mutex.h"

#include <memory>
#include <new>

namespace trevik::kelvo {

namespace {

/** Lists with more properties have shapes of their own: each shared shape has all slots of the one before. */
constexpr unsigned int MaximumSharedCount = 64;
/** So many classes may have a property in another place each after having the same ones before. */
constexpr unsigned int MaximumPlaces = 8;
/** A list in which properties are replaced more often has a shape of its own. */
constexpr unsigned int MaximumReplaced = 8;
/** All shared shapes, which stay for good: more than the classes of an application have. */
constexpr unsigned int MaximumShapes = 8192;
unsigned int g_nShapes = 0; // counted under the mutex

/**
 * An interned descriptor. Once it can be found it never changes or goes, so that finding it takes no lock.
 */
struct DescriptorEntry {
    PropertyDescriptor m_descriptor;
    DescriptorEntry* m_pNext;
};

constexpr unsigned int DescriptorBuckets = 256;
std::atomic<DescriptorEntry*> g_descriptors[DescriptorBuckets];

/** Held while descriptors and shapes are made. */
Mutex& GetMutex() {
    static Immortal<Mutex> s_mutex;
    return s_mutex.Get();
}

bool IsSame(PropertyDescriptor const& a, PropertyDescriptor const& b) {
    return a.m_nID == b.m_nID && a.m_type == b.m_type && a.m_pfnIsAnimated == b.m_pfnIsAnimated &&
           (a.m_pName == nullptr) == (b.m_pName == nullptr);
}

PropertyDescriptor const* FindDescriptor(DescriptorEntry const* pEntry, PropertyDescriptor const& wanted) {
    while (pEntry && !IsSame(pEntry->m_descriptor, wanted)) {
        pEntry = pEntry->m_pNext;
    }
    return pEntry ? &pEntry->m_descriptor : nullptr;
}

/** The one descriptor equal to `wanted`, made when there is none yet; null when out of memory. */
PropertyDescriptor const* Intern(PropertyDescriptor const& wanted) {
    std::atomic<DescriptorEntry*>& bucket = g_descriptors[wanted.m_nID % DescriptorBuckets];
    if (PropertyDescriptor const* pFound = FindDescriptor(bucket.load(std::memory_order_acquire), wanted)) {
        return pFound;
    }
    ScopedLock lock(GetMutex());
    DescriptorEntry* const pFirst = bucket.load(std::memory_order_relaxed);
    if (PropertyDescriptor const* pFound = FindDescriptor(pFirst, wanted)) {
        return pFound;
    }
    DescriptorEntry* const pEntry = new (std::nothrow) DescriptorEntry{wanted, pFirst};
    if (!pEntry) {
        return nullptr;
    }
    bucket.store(pEntry, std::memory_order_release);
    return &pEntry->m_descriptor;
}

} // namespace

PropertyShape& PropertyShape::GetEmpty() {
    static Immortal<PropertyShape> s_empty;
    return s_empty.Get();
}

/** The shape with this registration behind; else null, and in how many other places the property can be. */
PropertyShape* PropertyShape::FindDerived(PropertyDescriptor const& descriptor, std::intptr_t nOffset,
                                          unsigned int& nElsewhere) const {
    nElsewhere = 0;
    PropertyShape* pShape = m_pFirstDerived.load(std::memory_order_acquire);
    for (; pShape; pShape = pShape->m_pNext) {
        if (IsSame(*pShape->m_latest.m_pDescriptor, descriptor)) {
            if (pShape->m_latest.m_nOffset == nOffset) {
                return pShape;
            }
            ++nElsewhere;
        }
    }
    return nullptr;
}

PropertyShape* PropertyShape::Extend(PropertyDescriptor const& descriptor, std::intptr_t nOffset) {
    unsigned int nElsewhere = 0;
    if (PropertyShape* const pShape = FindDerived(descriptor, nOffset, nElsewhere)) {
        return pShape;
    }
    if (nElsewhere >= MaximumPlaces || m_slots.GetCount() >= MaximumSharedCount) {
        return nullptr;
    }
    unsigned int const nReplaced = m_nReplaced + (Find(descriptor.m_nID) ? 1 : 0);
    if (nReplaced > MaximumReplaced) {
        return nullptr;
    }
    PropertyDescriptor const* const pDescriptor = Intern(descriptor);
    ScopedLock lock(GetMutex());
    if (g_nShapes == MaximumShapes) {
        return nullptr;
    }
    if (PropertyShape* const pShape = FindDerived(descriptor, nOffset, nElsewhere)) {
        return pShape; // made by another thread meanwhile
    }
    std::unique_ptr<PropertyShape> pShape(pDescriptor ? new (std::nothrow) PropertyShape : nullptr);
    PropertySlot const slot = {pDescriptor, nOffset};
    if (!pShape || !pShape->m_slots.Reserve(m_slots.GetCount() + 1) || !pShape->m_slots.Assign(m_slots) ||
        !pShape->SetSlot(slot)) {
        return nullptr;
    }
    ++g_nShapes;
    pShape->m_nReplaced = nReplaced;
    pShape->m_latest = slot;
    pShape->m_pNext = m_pFirstDerived.load(std::memory_order_relaxed);
    m_pFirstDerived.store(pShape.get(), std::memory_order_release);
    return pShape.release();
}

PropertyShape* PropertyShape::Copy() const {
    std::unique_ptr<PropertyShape> pCopy(new (std::nothrow) PropertyShape);
    if (!pCopy || !pCopy->m_slots.Assign(m_slots)) {
        return nullptr;
    }
    pCopy->m_fShared = false;
    return pCopy.release();
}

PropertyDescriptor const* PropertyShape::Enter(PropertyDescriptor const& descriptor, std::intptr_t nOffset) {
    PropertyDescriptor const* const pDescriptor = Intern(descriptor);
    return pDescriptor && SetSlot({pDescriptor, nOffset}) ? pDescriptor : nullptr;
}

/** Puts the slot in the place of the one with its id, or behind the others; false without memory. */
bool PropertyShape::SetSlot(PropertySlot const& slot) {
    PropertySlot const* const pOlder = Find(slot.m_pDescriptor->m_nID);
    if (!pOlder) {
        return m_slots.Append(slot);
    }
    m_slots[static_cast<unsigned int>(pOlder - m_slots.GetData())] = slot;
    return true;
}

PropertySlot const* PropertyShape::Find(unsigned int nPropertyID) const {
    for (PropertySlot const& slot : m_slots) {
        if (slot.m_pDescriptor->m_nID == nPropertyID) {
            return &slot;
        }
    }
    return nullptr;
}

} // namespace trevik::kelvo
