#include "calls/NodeGroups.h"

#include "scene/NodeDescription.h"
#include "trevik/kelvo/Node.h"

#include <kelvo_recording/Recording.h>

namespace kelvokit::player {

using trevik::kelvo::Node;

void NodeGroups::BeginNode(Node& node) {
    recording::BeginGroup(Describe(node));
}

void NodeGroups::EndNode(Node&) {
    recording::EndGroup();
}

std::string NodeGroups::Describe(Node const& node) const {
    return trevik::kelvo::assets::DescribeNode(node);
}

} // namespace kelvokit::player
