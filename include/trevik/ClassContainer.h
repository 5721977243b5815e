#pragma once

#include "trevik/Export.h"
#include "trevik/Hash.h"
#include "trevik/Referenced.h"

#include <new>

namespace trevik {

/** Makes objects of one class, which the host knows by the id of its name. */
class TREVIK_API ClassContainer {
public:
    ClassContainer() : m_nClassID(0) {}
    virtual ~ClassContainer();

    /**
     * A new, default-constructed object without references, owned by the caller. The base class makes none.
     * @return null when there is no memory.
     */
    virtual Referenced* Create();

    /** The id of the class name, see HashName; its top bit is clear. */
    unsigned int m_nClassID;
};

/** Makes objects of the class T. */
template <class T>
class ClassContainerT : public ClassContainer {
public:
    ClassContainerT() {}

    /** For the class name with this id. */
    explicit ClassContainerT(unsigned int classID) { m_nClassID = classID; }

    Referenced* Create() override { return new (std::nothrow) T; }
};

} // namespace trevik
