#pragma once

#include "trevik/Export.h"

namespace trevik::kelvo {

class Camera;
class Node;
class Timeline;
class TransformNode;

/**
 * Receives nodes during Node::Accept. Each node calls the operation for its kind, then lets its children do
 * the same. Not destroyed through this interface, hence no virtual destructor; nor is its dynamic type asked
 * for: every library that derives from it has type information of its own for it.
 */
class TREVIK_API NodeVisitor {
public:
    virtual void VisitNode(Node& node, void* pArgument) = 0; ///< plain and transform nodes
    virtual void VisitDrawable(TransformNode& node,
                               void* pArgument) = 0; ///< sprites, nine-patch sprites, texts
    /** Called for a camera. */
    virtual void VisitCamera(Camera& camera, void* pArgument) = 0;
    virtual void VisitGroup(TransformNode& node, void* pArgument) = 0; ///< application-defined containers
    /** Called for a timeline. */
    virtual void VisitTimeline(Timeline& timeline, void* pArgument) = 0;

protected:
    ~NodeVisitor() = default;
};

} // namespace trevik::kelvo
