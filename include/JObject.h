#pragma once

#include "trevik/Export.h"
#include "trevik/jni/Class.h"

#include <jni.h>

namespace trevik::jni {

/** A Java object held by native code. */
class TREVIK_API ObjectBase {
public:
    virtual ~ObjectBase();

    /** The object, or null; the reference is this object's own. */
    virtual jobject Get() const = 0;

    /**
     * Whether the object is of the Java class or of one derived from it; false, asserted, on a thread without
     * an environment, and false when the class has not been found.
     */
    bool IsInstanceOf(Class const& javaClass) const;

protected:
    /**
     * Makes a global reference to `obj` (null: none), deletes the one in `held`, and puts the new one there.
     * Does nothing when both are the same or the thread has no environment.
     */
    static void Exchange(jobject& held, jobject obj);
};

/**
 * Holds an object of the Java class that the descriptor `T` names (such as android::graphics::Bitmap) by a
 * JNI global reference, or none. To be created, copied and destroyed on threads that are attached to the Java
 * virtual machine: on others it stays as it is.
 */
template <class T>
class Object : public ObjectBase {
public:
    Object() = default;
    /** Holds `obj`, any reference to it, or nothing when it is of another class. */
    explicit Object(jobject obj) {
        Set(obj);
        if (!ObjectBase::IsInstanceOf(T::GetClass())) {
            Set(nullptr);
        }
    }
    Object(Object const& other) : ObjectBase(other) { Set(other.m_obj); }
    Object(Object&& other) noexcept : m_obj(other.m_obj) { other.m_obj = nullptr; }
    Object& operator=(Object const& other) {
        Set(other.m_obj);
        return *this;
    }
    Object& operator=(Object&& other) noexcept {
        jobject const obj = m_obj;
        m_obj = other.m_obj;
        other.m_obj = obj;
        return *this;
    }
    ~Object() override { Set(nullptr); }

    jobject Get() const override { return m_obj; }
    /** Whether there is no Java object. */
    bool IsEmpty() const { return m_obj == nullptr; }

private:
    void Set(jobject obj) { Exchange(m_obj, obj); }

    jobject m_obj = nullptr;
};

} // namespace trevik::jni
