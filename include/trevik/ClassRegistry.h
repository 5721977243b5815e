#pragma once

#include "trevik/ClassContainer.h"
#include "trevik/List.h"

namespace trevik {

/**
 * The classes that the host can create by name: its own, and those of the plug-ins. Used by one thread at a
 * time.
 */
class TREVIK_API ClassRegistry {
public:
    /** The first registry becomes the default one. */
    ClassRegistry();
    /** Deletes the containers; the default registry is then none. */
    virtual ~ClassRegistry();

    /**
     * Enters a container, which the registry owns from here on and deletes at its own end. One whose id is
     * there already takes the older one's place.
     * @return false for null and when there is no memory; the container is deleted then.
     */
    virtual bool AddClassContainer(ClassContainer* container);

    /** A new object of the class with this id, owned by the caller; null when there is none, or no memory. */
    Referenced* Create(unsigned int classID) const;

    /** The same where the class is of this kind; null, and nothing is created, where it is of another. */
    Referenced* Create(unsigned int classID, ObjectKind::Enum kind) const;

    /** Whether a class of this id has been added. */
    bool IsRegistered(unsigned int classID) const;

    /**
     * The registry for code that creates objects and was given no registry; null when there is none. It is
     * set before other threads ask for it.
     */
    static ClassRegistry* GetDefault();
    /** Sets what GetDefault answers, null for none; the registry is borrowed. */
    static void SetDefault(ClassRegistry* registry);

    /** The number of classes, and the id of each in the order of registration; index is below the count. */
    unsigned int GetCount() const { return m_containers.GetCount(); }
    /** The id of a class, in the order of registration; index is below the count. */
    unsigned int GetClassID(unsigned int index) const { return m_containers[index]->m_nClassID; }

private:
    ClassRegistry(ClassRegistry const&) = delete;
    ClassRegistry& operator=(ClassRegistry const&) = delete;

    int Find(unsigned int classID) const;

    List<ClassContainer*> m_containers;
};

} // namespace trevik
