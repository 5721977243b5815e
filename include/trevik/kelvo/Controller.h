#pragma once

#include "trevik/Referenced.h"
#include "trevik/Types.h"
#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/Property.h"

namespace trevik::kelvo {

/**
 * Something that drives a property frame by frame. Several properties may share one controller. The base
 * drives nothing: an application derives from it for values that it computes. Used on the thread that updates
 * the property.
 */
template <class T>
class Controller : public Referenced, public ITraceable {
public:
    Controller() = default;
    Controller(Controller const& other) : Referenced(other), ITraceable(other) {}
    Controller& operator=(Controller const&) { return *this; }

    /**
     * Writes the value at `frame` (in frames of the property's timeline) to `out` and returns true; returns
     * false, with `out` untouched, when there is no value.
     */
    virtual bool Evaluate(UpdateContext const& context, RealFloat const& frame, T& out) {
        static_cast<void>(context);
        static_cast<void>(frame);
        static_cast<void>(out);
        return false;
    }
    /** Whether the property shall drop the controller after this evaluation. */
    virtual bool IsFinished() { return false; }
    /** Reads the controller from the current document node, the one that Save pushes. */
    virtual bool Load(Deserializer& deserializer) {
        static_cast<void>(deserializer);
        return true;
    }
    /**
     * Writes the controller as a child "Controller" of the current document node, in the form that
     * SampleController reads. One that writes none, like the base, is not saved: a property saves its current
     * value in its place.
     */
    virtual bool Save(Serializer& serializer) {
        static_cast<void>(serializer);
        return true;
    }

    /**
     * Whether it is a SampleController and of no class derived from that: known of those that it has made
     * itself. A property samples it without asking.
     */
    bool IsPlainSampler() const { return m_fPlainSampler; }

protected:
    bool m_fPlainSampler = false; ///< see IsPlainSampler; never true in a copy
};

} // namespace trevik::kelvo
