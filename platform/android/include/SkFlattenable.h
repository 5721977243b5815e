#pragma once

#include "SkRefCnt.h"

class SkFlattenableReadBuffer;
class SkFlattenableWriteBuffer;

/** An object that may be written to a buffer and made again from it. */
class ANDROID_API SkFlattenable : public SkRefCnt {
public:
    using Factory = SkFlattenable* (*)(SkFlattenableReadBuffer&);

    /** What makes the object again; null for one that cannot be written. */
    virtual Factory getFactory() = 0;
    /** Writes the object; the base writes nothing. */
    virtual void flatten(SkFlattenableWriteBuffer& buffer);
};
