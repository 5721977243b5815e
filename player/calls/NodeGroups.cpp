#include "calls/NodeGroups.h"

#include "trevik/kelvo/Node.h"

#include <kelvo_recording/Recording.h>

#include <string>

namespace kelvokit::player {

using trevik::String8;
using trevik::kelvo::Node;

void NodeGroups::BeginNode(Node& node) {
    std::string heading = String8(node.GetClassName()).GetData();
    // Scene files call the back end's classes by the names of those that they stand for.
    static std::string const s_backEnd = "GL2";
    if (heading.size() > s_backEnd.size() &&
        heading.compare(heading.size() - s_backEnd.size(), std::string::npos, s_backEnd) == 0) {
        heading.resize(heading.size() - s_backEnd.size());
    }
    if (!node.GetName().IsEmpty()) {
        heading += std::string(" \"") + String8(node.GetName()).GetData() + "\"";
    }
    recording::BeginGroup(heading);
}

void NodeGroups::EndNode(Node&) {
    recording::EndGroup();
}

} // namespace kelvokit::player
