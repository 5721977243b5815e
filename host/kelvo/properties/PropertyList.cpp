#include "trevik/kelvo/PropertyList.h"

#include "kelvo/properties/PropertyShape.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

namespace {

/** The last bit of the set of animated properties stands for those from this one on. */
constexpr unsigned int LastAnimatedBit = 31;

bool IsAnimated(PropertyDescriptor const& descriptor, Property const* pProperty) {
    return !descriptor.m_pfnIsAnimated || descriptor.m_pfnIsAnimated(pProperty);
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

PropertyList::~PropertyList() {
    Clear();
}

bool PropertyList::Register(unsigned int nPropertyID, Property* pProperty) {
    return Register(PropertyDescriptor{nullptr, nPropertyID, PropertyType::Unknown, nullptr}, pProperty);
}

bool PropertyList::Register(PropertyDescriptor const& descriptor, Property* pProperty) {
    if (!pProperty) {
        return false;
    }
    NoteShortage(pProperty->IsTorn());
    // The distance of addresses, as numbers: the property need not be in one object with the list.
    PropertyDescriptor const* const pDescriptor =
        Enter(descriptor, reinterpret_cast<std::intptr_t>(pProperty) - reinterpret_cast<std::intptr_t>(this));
    if (!pDescriptor) {
        m_fWhole = false;
        return false;
    }
    m_nGeneration = 0;
    if (IsAnimated(*pDescriptor, pProperty)) {
        BasePropertyGeneration::Advance(); // updates may leave an owner out as long as nothing is animated
    }
    return pProperty->Initialize(*pDescriptor);
}

/** Takes on the shape with this property; the interned descriptor, or null without memory. */
PropertyDescriptor const* PropertyList::Enter(PropertyDescriptor const& descriptor, std::intptr_t nOffset) {
    PropertyShape* pShape = m_pShape ? m_pShape : &PropertyShape::GetEmpty();
    if (pShape->IsShared()) {
        if (PropertyShape* const pShared = pShape->Extend(descriptor, nOffset)) {
            m_pShape = pShared;
            return pShared->GetLatest();
        }
        pShape = pShape->Copy();
        if (!pShape) {
            return nullptr;
        }
        m_pShape = pShape;
    }
    return pShape->Enter(descriptor, nOffset);
}

Property* PropertyList::GetProperty(PropertySlot const& slot) const {
    return reinterpret_cast<Property*>(reinterpret_cast<std::intptr_t>(this) + slot.m_nOffset);
}

PropertyList::Found PropertyList::Find(unsigned int nPropertyID) const {
    PropertySlot const* const pSlot = m_pShape ? m_pShape->Find(nPropertyID) : nullptr;
    return pSlot ? Found(Entry{GetProperty(*pSlot), pSlot->m_pDescriptor}) : Found();
}

unsigned int PropertyList::GetCount() const {
    return m_pShape ? m_pShape->GetSlots().GetCount() : 0;
}

PropertyList::Entry PropertyList::GetEntry(unsigned int nEntry) const {
    PropertySlot const& slot = m_pShape->GetSlots()[nEntry];
    return Entry{GetProperty(slot), slot.m_pDescriptor};
}

void PropertyList::Clear() {
    if (m_pShape && !m_pShape->IsShared()) {
        delete m_pShape;
    }
    m_pShape = nullptr;
    m_fWhole = true;
    ForgetAnimated();
}

void PropertyList::ForgetAnimated() const {
    m_nAnimated = 0;
    m_nOwn = 0;
}

/** Whether there are any. */
bool PropertyList::CollectAnimated() const {
    m_nGeneration = BasePropertyGeneration::Get();
    ForgetAnimated();
    for (unsigned int nEntry = 0; nEntry < GetCount(); ++nEntry) {
        Entry const entry = GetEntry(nEntry);
        if (IsAnimated(*entry.m_pDescriptor, entry.m_pProperty)) {
            m_nAnimated |= std::uint32_t{1} << (nEntry < LastAnimatedBit ? nEntry : LastAnimatedBit);
            m_nOwn = Unfound;
        }
    }
    return m_nAnimated != 0;
}

/** Whether the first one in a set of those that were collected has a controller still. */
bool PropertyList::IsFirstAnimated(std::uint32_t nEntries) const {
    Entry const entry = GetEntry(static_cast<unsigned int>(__builtin_ctz(nEntries)));
    return IsAnimated(*entry.m_pDescriptor, entry.m_pProperty);
}

unsigned int PropertyList::FindOwn(Property const* const* ppOwn, unsigned int nOwn) {
    CollectAnimated();
    unsigned int nFound = 0;
    unsigned int nNext = 0; // of the owner's
    for (std::uint32_t nLeft = m_nAnimated; nLeft != 0; nLeft &= nLeft - 1) {
        unsigned int const nEntry = static_cast<unsigned int>(__builtin_ctz(nLeft));
        Property const* const pProperty = GetProperty(m_pShape->GetSlots()[nEntry]);
        while (nNext < nOwn && ppOwn[nNext] != pProperty) {
            ++nNext;
        }
        if (nNext == nOwn || nEntry == LastAnimatedBit) {
            nFound |= Others;
            break;
        }
        nFound |= 1u << nNext++;
    }
    m_nOwn = static_cast<unsigned char>(nFound);
    return nFound;
}

void PropertyList::UpdateBehind(unsigned int nOwn, UpdateContext const& context, RealFloat const& frame) {
    std::uint32_t nLeft = m_nAnimated;
    for (unsigned int nFirst = nOwn & (Others - 1); nFirst != 0; nFirst &= nFirst - 1) {
        nLeft &= nLeft - 1;
    }
    if (nLeft != 0 && !IsFirstAnimated(nLeft)) {
        m_nGeneration = 0; // it has none any more, and the owner must not take it for its own for ever
    }
    UpdateSet(nLeft, context, frame);
}

/** Updates the entries whose bits are set, in order. */
void PropertyList::UpdateSet(std::uint32_t nLeft, UpdateContext const& context, RealFloat const& frame) {
    for (; nLeft != 0; nLeft &= nLeft - 1) {
        unsigned int const nEntry = static_cast<unsigned int>(__builtin_ctz(nLeft));
        if (__builtin_expect(nEntry == LastAnimatedBit, 0)) {
            UpdateFrom(nEntry, context, frame);
            return;
        }
        // An update may have changed what is registered.
        if (nEntry < GetCount()) {
            GetProperty(m_pShape->GetSlots()[nEntry])->Update(context, frame);
        }
    }
}

/** Updates what is animated among the entries from `nEntry` on, for which there is one bit. */
void PropertyList::UpdateFrom(unsigned int nEntry, UpdateContext const& context, RealFloat const& frame) {
    for (; nEntry < GetCount(); ++nEntry) {
        Entry const entry = GetEntry(nEntry);
        if (IsAnimated(*entry.m_pDescriptor, entry.m_pProperty)) {
            entry.m_pProperty->Update(context, frame);
        }
    }
}

bool PropertyList::Save(Serializer& serializer) const {
    if (!m_fWhole) {
        return false;
    }
    for (unsigned int nEntry = 0; nEntry < GetCount(); ++nEntry) {
        Entry const entry = GetEntry(nEntry);
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
    unsigned int nNext = 0; // properties are saved in the list's order
    for (unsigned int nChild = 0; nChild < nChildren; ++nChild) {
        if (deserializer.GetChildTagID(nChild) != DocumentID::Property) {
            continue;
        }
        unsigned int const nID = deserializer.GetChildTypeID(nChild);
        bool const fNext = nNext < GetCount() && m_pShape->GetSlots()[nNext].m_pDescriptor->m_nID == nID;
        Found const pEntry = fNext ? Found(GetEntry(nNext++)) : Find(nID);
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
    for (unsigned int nEntry = 0; nEntry < GetCount(); ++nEntry) {
        GetEntry(nEntry).m_pProperty->Emit(pTracer);
    }
}

} // namespace trevik::kelvo
