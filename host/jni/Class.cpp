#include "trevik/jni/Class.h"

#include "trevik/jni/VM.h"

namespace trevik::jni {

namespace {

/** A class that is registered as long as the process lives, from its first use on. */
struct KnownClass {
    explicit KnownClass(char const* pName) : m_class(pName) { VM::RegisterClass(&m_class); }

    Class m_class;
};

} // namespace

namespace java::lang {

jni::Class const& Class::GetClass() {
    static KnownClass const s_class("java/lang/Class");
    return s_class.m_class;
}

jni::Class const& Object::GetClass() {
    static KnownClass const s_class("java/lang/Object");
    return s_class.m_class;
}

} // namespace java::lang

namespace android::graphics {

jni::Class const& Bitmap::GetClass() {
    static KnownClass const s_class("android/graphics/Bitmap");
    return s_class.m_class;
}

} // namespace android::graphics

} // namespace trevik::jni
