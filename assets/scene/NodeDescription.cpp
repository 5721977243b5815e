#include "scene/NodeDescription.h"

#include "scene/SceneNodes.h"

namespace trevik::kelvo::assets {

namespace {

std::string ToLine(StringEncoded<UTF16Encoding> const& text) {
    String8 const utf8(text);
    return ToOneLine(std::string(utf8.GetData(), utf8.GetLength()));
}

} // namespace

std::string GetSceneClassName(Node const& node) {
    for (std::string const& name : GetNodeClassNames()) {
        if (HashName(name.data(), name.size()) == node.GetFactoryClassID()) {
            return name;
        }
    }
    return ToLine(node.GetClassName()); // of an application's own
}

std::string DescribeNode(Node const& node) {
    std::string const name = ToLine(node.GetName());
    return GetSceneClassName(node) + (name.empty() ? "" : " \"" + name + "\"");
}

std::string DescribeNode(Node const& node, SceneNotes const& notes) {
    if (SceneOrigin const* const pOrigin = notes.Find(node)) {
        return DescribeNode(node) + "  " + pOrigin->sFile + ":" + std::to_string(pOrigin->nLine) +
               (pOrigin->sUse.empty() ? "" : " (" + pOrigin->sUse + ")");
    }
    // The path begins with the root, which has no name.
    std::string const path = ToLine(node.GetPath());
    return GetSceneClassName(node) + "  " + (path.compare(0, 2, "//") == 0 ? path.substr(1) : path);
}

} // namespace trevik::kelvo::assets
