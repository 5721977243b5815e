#pragma once

#include "trevik/Hash.h"
#include "trevik/List.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Property.h"

#include <cstddef>
#include <cstdint>

namespace trevik::kelvo {

class PropertyShape;
struct PropertySlot;

/**
 * The animated properties of one object, by id. The properties are members of the owner and live as long as
 * it does; so they are noted by where they lie, once for all objects of a class. Properties that are no
 * members of the owner may be registered, too, and take memory for each list. A list and its properties are
 * used on the thread that updates the owner; different lists may be used by different threads.
 */
class TREVIK_API PropertyList {
public:
    /** One property. */
    struct Entry {
        Property* m_pProperty;                   ///< borrowed; it belongs to the list's owner
        PropertyDescriptor const* m_pDescriptor; ///< interned; lives as long as the process
    };

    /** What Find has found: an entry or none, to be used like a pointer to it. */
    class Found {
    public:
        /** None. */
        Found(std::nullptr_t = nullptr) {} // NOLINT(google-explicit-constructor): as a pointer
        explicit Found(Entry const& entry) : m_entry(entry) {}

        /** Whether there is an entry. */
        explicit operator bool() const { return m_entry.m_pProperty != nullptr; }
        /** The entry, which there has to be. */
        Entry const& operator*() const { return m_entry; }
        /** The entry, which there has to be. */
        Entry const* operator->() const { return &m_entry; }
        friend bool operator==(Found const& found, std::nullptr_t) { return !found; }
        friend bool operator!=(Found const& found, std::nullptr_t) { return static_cast<bool>(found); }

    private:
        Entry m_entry{};
    };

    PropertyList() = default;
    ~PropertyList();
    /**
     * Registrations belong to the owner: a copied owner registers its own properties, so nothing is copied.
     */
    PropertyList(PropertyList const&) : PropertyList() {}
    PropertyList& operator=(PropertyList const&) { return *this; } // NOLINT(*-unhandled-self-assignment)

    /**
     * Enters a property under an id; a property already entered under that id is replaced. False when out of
     * memory. A torn copy is entered, too.
     */
    bool Register(unsigned int nPropertyID, Property* pProperty);

    /** Enters a property with its value type, so that it can be set by name and found animated. */
    template <class T>
    bool Register(unsigned int nPropertyID, BaseProperty<T>* pProperty) {
        return Register(
            PropertyDescriptor{nullptr, nPropertyID, PropertyTypeOf<T>::value, &BaseProperty<T>::IsAnimated},
            pProperty);
    }

    /** Enters a property under the id of `pName`, static UTF-16 text that scene files use as its name. */
    template <class T>
    bool Register(char16_t const* pName, BaseProperty<T>* pProperty) {
        return Register(PropertyDescriptor{pName, HashName(pName), PropertyTypeOf<T>::value,
                                           &BaseProperty<T>::IsAnimated},
                        pProperty);
    }

    /** Entry with the id, or none. */
    Found Find(unsigned int nPropertyID) const;
    /** The number of entries. */
    unsigned int GetCount() const;
    /** Entry `nEntry` (0 .. GetCount() - 1), in the order in which the ids were registered. */
    Entry GetEntry(unsigned int nEntry) const;
    /** Forgets all registrations. */
    void Clear();

    /** Brings every property that has a controller to `frame`. Properties without one cost nothing. */
    void Update(UpdateContext const& context, RealFloat const& frame) {
        if (m_nGeneration != BasePropertyGeneration::Get()) {
            CollectAnimated();
        }
        if (m_nAnimated != 0) {
            UpdateSet(m_nAnimated, context, frame);
        }
    }

    /** Whether any property that had a controller at the last Update still has one. */
    bool HasAnimated() const {
        return m_nAnimated != 0 && (IsFirstAnimated(m_nAnimated) || CollectAnimated());
    }

    /**
     * Which of the owner's properties it brings to a frame by itself, without a call for each, as a set that
     * FindOwn has made, with Others for those that UpdateBehind has to bring there. 0 when no property has a
     * controller; Unfound when FindOwn is to be asked anew.
     */
    unsigned int GetOwn() const {
        return __builtin_expect(m_nGeneration == BasePropertyGeneration::Get(), 1) ? m_nOwn : Unfound;
    }
    static constexpr unsigned int Unfound = 0x80; ///< in GetOwn: FindOwn is to be asked
    static constexpr unsigned int Others = 0x40;  ///< in GetOwn: properties besides the owner's
    /**
     * GetOwn from now on: a bit for each of the `nOwn` properties (6 at most, always the same ones) that has
     * a controller. Since properties are updated in the list's order, only those count that stand before all
     * others with a controller, and in the same order as here.
     */
    unsigned int FindOwn(Property const* const* ppOwn, unsigned int nOwn);
    /** What Update does behind those in the set `nOwn`, the first ones of those that FindOwn has found. */
    void UpdateBehind(unsigned int nOwn, UpdateContext const& context, RealFloat const& frame);

    /** Whether memory has sufficed for all registrations and for all that the owner was copied from. */
    bool IsWhole() const { return m_fWhole; }
    /** Notes, if so, that there was no memory for a part of the owner: the list is not whole any more. */
    void NoteShortage(bool fShort) { m_fWhole = m_fWhole && !fShort; }

    /**
     * Writes every property as a child node (tag "Property", type = property id) of the current node. False
     * when a property refuses, memory is short, or the list is not whole.
     */
    bool Save(Serializer& serializer) const;
    /**
     * Loads every property that the current node has a child for; others keep their values, unknown ones are
     * skipped. False, noted (see Deserializer::Fail), when a property that is present fails to load, or the
     * list is not whole.
     */
    bool Load(Deserializer& deserializer);
    /** Reports every property. */
    void Emit(MemoryTracer* pTracer) const;

private:
    bool Register(PropertyDescriptor const& descriptor, Property* pProperty);
    PropertyDescriptor const* Enter(PropertyDescriptor const& descriptor, std::intptr_t nOffset);
    Property* GetProperty(PropertySlot const& slot) const;
    void ForgetAnimated() const;
    bool CollectAnimated() const;
    bool IsFirstAnimated(std::uint32_t nEntries) const;
    void UpdateSet(std::uint32_t nLeft, UpdateContext const& context, RealFloat const& frame);
    void UpdateFrom(unsigned int nEntry, UpdateContext const& context, RealFloat const& frame);

    mutable unsigned int m_nGeneration =
        0; ///< BasePropertyGeneration when the animated were collected; 0 = never
    mutable std::uint32_t m_nAnimated = 0; ///< a bit for each entry; the last one for all from there on
    mutable unsigned char m_nOwn = 0;      ///< see GetOwn
    bool m_fWhole = true;                  ///< see IsWhole
    PropertyShape* m_pShape = nullptr;     ///< what is registered; null for nothing
};

} // namespace trevik::kelvo
