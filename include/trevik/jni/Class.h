#pragma once

#include "trevik/Export.h"

#include <jni.h>

#include <atomic>

namespace trevik::jni {

/** A Java class that native code knows by name. VM::RegisterClass finds the class itself. Any thread. */
class TREVIK_API Class {
public:
    /** `pName`: static text in JNI's form, such as "java/lang/Object". */
    constexpr explicit Class(char const* pName) : m_pName(pName), m_class(nullptr) {}
    Class(Class const&) = delete;
    Class& operator=(Class const&) = delete;

    /**
     * The class as a global reference; null unless it is registered, found, and its virtual machine is still
     * there.
     */
    jclass Get() const { return m_class.load(std::memory_order_acquire); }

    /** The name that it was made with, in JNI's form. */
    char const* GetName() const { return m_pName; }

private:
    friend class VM;

    char const* m_pName;
    mutable std::atomic<jclass> m_class; ///< written by VM
};

namespace java::lang {

/** The Java class java.lang.Class. */
class TREVIK_API Class {
public:
    /** The class for VM::RegisterClass. */
    static jni::Class const& GetClass();
};

/** The Java class java.lang.Object. */
class TREVIK_API Object {
public:
    /** The class for VM::RegisterClass. */
    static jni::Class const& GetClass();
};

} // namespace java::lang

namespace android::graphics {

/** The Java class android.graphics.Bitmap. */
class TREVIK_API Bitmap {
public:
    /** The class for VM::RegisterClass. */
    static jni::Class const& GetClass();
};

} // namespace android::graphics

} // namespace trevik::jni
