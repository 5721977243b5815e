#pragma once

#include "trevik/List.h"
#include "trevik/kelvo/Property.h"

#include <atomic>
#include <cstdint>

namespace trevik::kelvo {

/** A property that is registered: what it is, and where it lies, in bytes from the list. */
struct PropertySlot {
    PropertyDescriptor const* m_pDescriptor; ///< interned; lives as long as the process
    std::intptr_t m_nOffset;
};

/**
 * What is registered in a property list. Objects of one class register the same properties at the same places
 * in themselves, so their lists share one shape: it is found by following what is registered, from the empty
 * shape on, which allocates nothing once an object of the class has been made. A shared shape never changes
 * or goes, so that following it takes no lock.
 *
 * A list has a shape of its own, which goes with it, where its properties lie somewhere else each time, as
 * those do that are no members of the list's owner.
 */
class PropertyShape {
public:
    PropertyShape() = default;
    PropertyShape(PropertyShape const&) = delete;
    PropertyShape& operator=(PropertyShape const&) = delete;

    /** Whether lists share it, or else it belongs to one. */
    bool IsShared() const { return m_fShared; }
    /** The shape of a list without properties. */
    static PropertyShape& GetEmpty();

    /**
     * The shared shape that a list of this shared one has once a property is registered in it, whose
     * descriptor is GetLatest(). Null when there is none to share, and without memory. Any thread.
     */
    PropertyShape* Extend(PropertyDescriptor const& descriptor, std::intptr_t nOffset);
    /** The descriptor that was registered last. */
    PropertyDescriptor const* GetLatest() const { return m_latest.m_pDescriptor; }

    /** A shape with the same slots that is not shared; null without memory. */
    PropertyShape* Copy() const;
    /** Registers a property in a shape that is not shared. The interned descriptor; null without memory. */
    PropertyDescriptor const* Enter(PropertyDescriptor const& descriptor, std::intptr_t nOffset);

    /** The properties in the order in which their ids were first registered. */
    List<PropertySlot> const& GetSlots() const { return m_slots; }
    /** The property with the id, or null. */
    PropertySlot const* Find(unsigned int nPropertyID) const;

private:
    PropertyShape* FindDerived(PropertyDescriptor const& descriptor, std::intptr_t nOffset,
                               unsigned int& nElsewhere) const;
    bool SetSlot(PropertySlot const& slot);

    List<PropertySlot> m_slots;
    PropertySlot m_latest{};
    std::atomic<PropertyShape*> m_pFirstDerived{nullptr}; ///< shapes with one registration more
    PropertyShape* m_pNext = nullptr;                     ///< derived from the same one
    unsigned int m_nReplaced = 0; ///< registrations under an id that there was already, up to this one
    bool m_fShared = true;        ///< see IsShared
};

} // namespace trevik::kelvo
