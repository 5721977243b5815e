#pragma once

namespace trevik::kelvo {

/**
 * A value source that stands in for a property (see BaseProperty::Bind): the property's reads, writes,
 * evaluations and change notifications all go to it. Used on the thread that uses the property.
 */
template <class T>
class PropertyBinding {
public:
    virtual ~PropertyBinding() = default;

    /** The value that the property has now. The reference holds until the value is next written. */
    virtual T const& GetValue() const = 0;
    /** Takes a new value for the property. Telling observers is up to the binding. */
    virtual void SetValue(T const& value) = 0;
    /** Where an evaluation or a load writes the property's value; followed by Notify. */
    virtual T& GetWritableValue() = 0;
    /** Ends an evaluation or a load; `changed` tells whether the writable value was written. */
    virtual void Notify(bool changed) = 0;
};

} // namespace trevik::kelvo
