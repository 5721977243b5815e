#include "trevik/kelvo/PropertyList.h"

#include "trevik/Immortal.h"
#include "trevik/Mutex.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

#include <atomic>
#include <new>

namespace trevik::kelvo {

namespace {

/**
 * An interned descriptor. Once it can be found it never changes or goes, so that finding it takes no lock.
 */
struct DescriptorEntry {
    PropertyDescriptor m_descriptor;
    DescriptorEntry* m_pNext;
};

constexpr unsigned int DescriptorBuckets = 256;
std::atomic<DescriptorEntry*> g_descriptors[DescriptorBuckets];

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
    static Immortal<Mutex> s_mutex;
    std::atomic<DescriptorEntry*>& bucket = g_descriptors[wanted.m_nID % DescriptorBuckets];
    if (PropertyDescriptor const* pFound = FindDescriptor(bucket.load(std::memory_order_acquire), wanted)) {
        return pFound;
    }
    ScopedLock lock(s_mutex.Get());
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

void NoteFailedLoad(Deserializer& deserializer, PropertyDescriptor const& descriptor) {
    static char16_t const s_reason[] = u"the document holds no controller or value that fits it";
    if (descriptor.m_pName) {
        deserializer.Fail(u"property \"%s\": %s", descriptor.m_pName, s_reason);
    } else {
        deserializer.Fail(u"property %u: %s", descriptor.m_nID, s_reason);
    }
}

} // namespace

PropertyDescriptor const* PropertyList::Describe(char16_t const* pName, unsigned int nID,
                                                 PropertyType::Enum type,
                                                 bool (*pfnIsAnimated)(Property const*)) {
    return Intern(PropertyDescriptor{pName, nID, type, pfnIsAnimated});
}

bool PropertyList::Register(unsigned int nPropertyID, Property* pProperty) {
    return Register(Describe(nullptr, nPropertyID, PropertyType::Unknown, nullptr), pProperty);
}

bool PropertyList::Register(PropertyDescriptor const* pDescriptor, Property* pProperty) {
    m_fWhole = m_fWhole && pDescriptor;
    if (!pDescriptor || !pProperty) {
        return false;
    }
    NoteShortage(pProperty->IsTorn());
    Entry const entry = {pProperty, pDescriptor};
    if (Entry const* pOlder = Find(pDescriptor->m_nID)) {
        m_entries[static_cast<unsigned int>(pOlder - m_entries.GetData())] = entry;
    } else if (!m_entries.Append(entry)) {
        m_fWhole = false;
        return false;
    }
    m_nGeneration = 0;
    return pProperty->Initialize(*pDescriptor);
}

PropertyList::Entry const* PropertyList::Find(unsigned int nPropertyID) const {
    for (Entry const& entry : m_entries) {
        if (entry.m_pDescriptor->m_nID == nPropertyID) {
            return &entry;
        }
    }
    return nullptr;
}

void PropertyList::Clear() {
    m_entries.Clear();
    m_fWhole = true;
    ForgetAnimated();
}

void PropertyList::ForgetAnimated() {
    m_pFirstAnimated = nullptr;
    m_otherAnimated.Clear();
    m_fSeveralAnimated = false;
}

void PropertyList::CollectAnimated() {
    unsigned int const nGeneration = BasePropertyGeneration::Get();
    ForgetAnimated();
    for (Entry const& entry : m_entries) {
        bool (*const pfnIsAnimated)(Property const*) = entry.m_pDescriptor->m_pfnIsAnimated;
        if (pfnIsAnimated && !pfnIsAnimated(entry.m_pProperty)) {
            continue;
        }
        if (!m_pFirstAnimated) {
            m_pFirstAnimated = entry.m_pProperty;
        } else if (m_otherAnimated.Append(entry.m_pProperty)) {
            m_fSeveralAnimated = true;
        } else {
            return; // tried again at the next update
        }
    }
    m_nGeneration = nGeneration;
}

void PropertyList::UpdateSeveral(UpdateContext const& context, RealFloat const& frame) {
    m_pFirstAnimated->Update(context, frame);
    for (unsigned int nOther = 0; nOther < m_otherAnimated.GetCount(); ++nOther) {
        m_otherAnimated[nOther]->Update(context, frame);
    }
}

bool PropertyList::Save(Serializer& serializer) const {
    if (!m_fWhole) {
        return false;
    }
    for (Entry const& entry : m_entries) {
        if (!serializer.PushTag(DocumentID::Property, entry.m_pDescriptor->m_nID) ||
            !entry.m_pProperty->Save(serializer)) {
            return false;
        }
        serializer.PopTag();
    }
    return true;
}

bool PropertyList::Load(Deserializer& deserializer) {
    if (!m_fWhole) {
        return deserializer.Fail(u"memory is short");
    }
    unsigned int const nDepth = deserializer.GetDepth();
    unsigned int const nChildren = deserializer.GetChildCount();
    for (unsigned int nChild = 0; nChild < nChildren; ++nChild) {
        DocumentNode const* const pChild = deserializer.GetCurrentNode()->GetChild(nChild);
        Entry const* const pEntry =
            pChild->GetTagID() == DocumentID::Property ? Find(pChild->GetTypeID()) : nullptr;
        if (!pEntry) {
            continue;
        }
        bool const fLoaded = deserializer.PushChild(nChild) && pEntry->m_pProperty->Load(deserializer);
        deserializer.PopTo(nDepth);
        if (!fLoaded) {
            NoteFailedLoad(deserializer, *pEntry->m_pDescriptor);
            return false;
        }
    }
    return true;
}

void PropertyList::Emit(MemoryTracer* pTracer) const {
    for (Entry const& entry : m_entries) {
        entry.m_pProperty->Emit(pTracer);
    }
}

} // namespace trevik::kelvo
