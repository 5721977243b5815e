#pragma once

#include "trevik/Encoding.h"
#include "trevik/Hash.h"
#include "trevik/StringEncoded.h"
#include "trevik/kelvo/NodeVisitor.h"

/** A class's id, the hash of its name, and the ids it answers to: its own and those of its base's classes. */
#define TREVIK_CLASS_ID(Class, Base)                                                                         \
    static constexpr unsigned int ClassID = ::trevik::HashName(#Class);                                      \
    static bool IsOwnOrBaseID(unsigned int nClassID) {                                                       \
        return nClassID == ClassID || Base::IsOwnOrBaseID(nClassID);                                         \
    }

/** What every reflected class answers about itself; a part of the macros below, and of no use alone. */
#define TREVIK_CLASS_IDENTITY(Class, Base)                                                                   \
    TREVIK_CLASS_ID(Class, Base)                                                                             \
    unsigned int GetClassID() const override {                                                               \
        return ClassID;                                                                                      \
    }                                                                                                        \
    unsigned int GetClassSize() const override {                                                             \
        return sizeof(Class);                                                                                \
    }                                                                                                        \
    bool IsKindOf(unsigned int nClassID) const override {                                                    \
        return IsOwnOrBaseID(nClassID);                                                                      \
    }

/**
 * The per-class operations by which the host copies, identifies and walks objects. They are alike in every
 * class but for names, so they are written once, here.
 *
 * TREVIK_NODE_REFLECTION(Class, Base, Factory, Visit) stands in the public part of a concrete node class.
 * `Base` is its direct base (itself reflected), `Factory` the host class name under which the factory is
 * registered, `Visit` the visitor's operation for this kind of node.
 */
#define TREVIK_NODE_REFLECTION(Class, Base, Factory, Visit)                                                  \
    TREVIK_CLASS_IDENTITY(Class, Base)                                                                       \
    Node* Clone() const override {                                                                           \
        return RegisterCopy(new (std::nothrow) Class(*this));                                                \
    }                                                                                                        \
    ::trevik::StringEncoded<::trevik::UTF16Encoding> GetClassName() const override {                         \
        return ::trevik::StringEncoded<::trevik::UTF16Encoding>::FromLiteral(u"" #Class);                    \
    }                                                                                                        \
    void Accept(::trevik::kelvo::NodeVisitor& visitor, void* pArgument) override {                           \
        visitor.Visit(*this, pArgument);                                                                     \
        AcceptChildren(visitor, pArgument);                                                                  \
    }                                                                                                        \
    Node* CloneTree() const override {                                                                       \
        return CloneChildrenInto(Clone());                                                                   \
    }                                                                                                        \
    unsigned int GetFactoryClassID() const override {                                                        \
        return ::trevik::HashName(Factory);                                                                  \
    }

/** The same for effect classes; `Resource` names the shared resource class that the effect needs. */
#define TREVIK_EFFECT_REFLECTION(Class, Base, Resource)                                                      \
    TREVIK_CLASS_IDENTITY(Class, Base)                                                                       \
    Effect* Clone() const override {                                                                         \
        return RegisterCopy(new (std::nothrow) Class(*this));                                                \
    }                                                                                                        \
    unsigned int GetResourceClassID() const override {                                                       \
        return ::trevik::HashName(Resource);                                                                 \
    }
