#pragma once

#include "trevik/Export.h"

namespace trevik::kelvo {

class Node;

/**
 * Is told which node is updated, for tools that tell the nodes' times apart. While there is one, those are
 * updated, too, in which nothing can have changed; while there is none, an update costs one test for each
 * timeline. Render thread.
 */
class TREVIK_API UpdateObserver {
public:
    virtual ~UpdateObserver();

    /**
     * Called before a node is updated: before the nodes below it, behind those that come before it and what
     * is below them. The outermost timeline and cameras that are in no tree are not told.
     */
    virtual void BeginUpdate(Node& node) = 0;

    /** Makes `pObserver`, or with null none, the observer from now on. Returns the one before. */
    static UpdateObserver* Set(UpdateObserver* pObserver);
    /** The observer now; null where there is none. */
    static UpdateObserver* Get() { return s_pObserver; }

private:
    static UpdateObserver* s_pObserver;
};

} // namespace trevik::kelvo
