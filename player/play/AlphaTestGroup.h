#pragma once

#include "play/Backend.h"
#include "trevik/ClassContainer.h"
#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/TransformNode.h"

namespace kelvokit::player {

using trevik::kelvo::Node;

/**
 * A node below which textured sprites are drawn with alpha test: what is nearly transparent (alpha below 0.1)
 * leaves neither colour nor depth. The test is a switch of the device that applications throw, so the class
 * is the player's own. A back end without the switch draws the children as ever.
 */
class AlphaTestGroup : public trevik::kelvo::TransformNode {
public:
    TREVIK_NODE_REFLECTION(AlphaTestGroup, TransformNode, "AlphaTestGroup", VisitGroup)

    /** The back end must outlive the node. */
    explicit AlphaTestGroup(Backend const& backend) : m_pBackend(&backend) {}

    void Render(trevik::kelvo::GraphicsDevice& device) override;

private:
    Backend const* m_pBackend;
};

/** Lets scenes name the class. The registry must not outlive the back end. */
void RegisterAlphaTestGroup(Backend& backend);

} // namespace kelvokit::player
