#pragma once

#include "trevik/Encoding.h"
#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

#include <jni.h>

namespace trevik::jni {

/** Java exceptions in native code. */
class TREVIK_API ExceptionHandler {
public:
    /**
     * If a Java exception is pending on the calling thread, traces it with the place where it was found,
     * clears it and returns true. `sWhen` tells whether that is before or after the JNI call `sExpression` in
     * line `nLine` of `sFile`.
     */
    static bool CheckForException(JNIEnv* pEnv, StringEncoded<JavaEncoding> const& sWhen,
                                  StringEncoded<JavaEncoding> const& sFile, int nLine,
                                  StringEncoded<JavaEncoding> const& sExpression);
};

} // namespace trevik::jni
