#pragma once

#include "trevik/Export.h"

namespace trevik::kelvo {

class Node;

/**
 * Is told which node is drawn, for tools that tell the nodes' GL calls apart. While there is none, drawing
 * costs one test for each node that has children. Render thread.
 */
class TREVIK_API RenderObserver {
public:
    virtual ~RenderObserver();

    /** Called before a node and the nodes below it are drawn, or searched for the nodes under a point. */
    virtual void BeginNode(Node& node) = 0;
    /** Called when a node and the nodes below it have been drawn, or searched. */
    virtual void EndNode(Node& node) = 0;

    /** Makes `pObserver`, or with null none, the observer from now on. Returns the one before. */
    static RenderObserver* Set(RenderObserver* pObserver);
    /** The observer now; null where there is none. */
    static RenderObserver* Get() { return s_pObserver; }

private:
    static RenderObserver* s_pObserver;
};

} // namespace trevik::kelvo
