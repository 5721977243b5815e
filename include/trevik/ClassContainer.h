#pragma once

#include "trevik/Export.h"
#include "trevik/Hash.h"
#include "trevik/Referenced.h"

#include <new>
#include <type_traits>

namespace trevik {

namespace kelvo {
class Effect;
class EffectResource;
class Node;
} // namespace kelvo

/** The kinds of objects that files may name; the host checks the kind before it creates one. */
struct ObjectKind {
    enum Enum { Other, Node, Effect, EffectResource };
};

/** The kind of T's objects. Known when T is compiled: it takes no type information at run time. */
template <class T>
constexpr ObjectKind::Enum KindOf() {
    return std::is_base_of<kelvo::Node, T>::value             ? ObjectKind::Node
           : std::is_base_of<kelvo::Effect, T>::value         ? ObjectKind::Effect
           : std::is_base_of<kelvo::EffectResource, T>::value ? ObjectKind::EffectResource
                                                              : ObjectKind::Other;
}

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

    /**
     * The kind of the objects that Create makes; Other in the base class, and then no file can ask for it.
     */
    virtual ObjectKind::Enum GetKind() const;

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
    ObjectKind::Enum GetKind() const override { return KindOf<T>(); }
};

} // namespace trevik
