#include "explain/Explanation.h"
#include "explain/NodeWarnings.h"
#include "scene/NodeDescription.h"
#include "trevik/StringEncoded.h"

#include <nlohmann/json.hpp>

namespace kelvokit::player {

using nlohmann::ordered_json;
using trevik::String8;
using trevik::kelvo::assets::GetSceneClassName;
using trevik::kelvo::assets::SceneNotes;
using trevik::kelvo::assets::SceneOrigin;
using trevik::kelvo::assets::SceneWarning;

namespace {

ordered_json ToJson(counting::Counts const& counts) {
    ordered_json calls = ordered_json::object();
    for (unsigned int nFunction = 0; nFunction < counting::FunctionCount; ++nFunction) {
        if (counts.calls[nFunction] > 0) {
            calls[counting::GetFunctionName(nFunction)] = counts.calls[nFunction];
        }
    }
    return {{"draws", counts.nDraws},
            {"triangles", counts.nTriangles},
            {"calls", counts.nCalls},
            {"programChanges", counts.nProgramChanges},
            {"programRepetitions", counts.nProgramRepetitions},
            {"textureChanges", counts.nTextureChanges},
            {"textureRepetitions", counts.nTextureRepetitions},
            {"blendChanges", counts.nBlendChanges},
            {"blendRepetitions", counts.nBlendRepetitions},
            {"callsByFunction", calls}};
}

ordered_json ToJson(Cost const& cost) {
    ordered_json json = ToJson(cost.counts);
    json["coveredPixels"] = cost.nCovered;
    json["writtenPixels"] = cost.nWritten;
    json["writtenOffScreen"] = cost.nOffScreen;
    json["textureBytes"] = cost.nTextures;
    json["fontBytes"] = cost.nFonts;
    json["updateMilliseconds"] = cost.rUpdate;
    json["renderMilliseconds"] = cost.rRender;
    return json;
}

/** Such as `/panel/title`; the root, which has no name, is `/`. */
std::string GetPath(trevik::kelvo::Node const& node) {
    std::string const path = String8(node.GetPath()).GetData();
    return path.compare(0, 2, "//") == 0 ? path.substr(1) : path;
}

ordered_json ToJson(NodeCost const& cost, std::size_t nNode, SceneNotes const& notes) {
    trevik::kelvo::Node const& node = *cost.pNode;
    ordered_json json = {{"node", nNode},
                         {"parent", nullptr},
                         {"class", GetSceneClassName(node)},
                         {"name", String8(node.GetName()).GetData()},
                         {"path", GetPath(node)}};
    if (nNode > 0) {
        json["parent"] = cost.nParent;
    }
    if (SceneOrigin const* const pOrigin = notes.Find(node)) {
        json["file"] = pOrigin->sFile;
        json["line"] = pOrigin->nLine;
        json["way"] = pOrigin->way;
        if (!pOrigin->sUse.empty()) {
            json["use"] = pOrigin->sUse;
        }
    }
    json["itself"] = ToJson(cost.itself);
    json["sum"] = ToJson(cost.sum);
    return json;
}

} // namespace

std::string ToJson(Explanation const& explanation, SceneNotes const& notes) {
    FrameTimes const& times = explanation.times;
    Overdraw const& overdraw = explanation.overdraw;
    ordered_json json = {{"scene", explanation.scene},
                         {"frame", explanation.nFrame},
                         {"width", explanation.nWidth},
                         {"height", explanation.nHeight},
                         {"renderer", explanation.renderer},
                         {"overdraw",
                          {{"mean", overdraw.rMean},
                           {"most", overdraw.nMost},
                           {"mostX", overdraw.nMostX},
                           {"mostY", overdraw.nMostY}}},
                         {"times",
                          {{"drawings", times.nDrawings},
                           {"updateMilliseconds", times.rUpdate},
                           {"renderMilliseconds", times.rRender},
                           {"renderInPartsMilliseconds", times.rInParts},
                           {"idleFinishMilliseconds", times.rFinish}}},
                         {"unmeasuredDraws", explanation.nUnmeasuredDraws},
                         {"dearestByTime", FindDearestByTime(explanation.costs)},
                         {"dearestByPixels", FindDearestByPixels(explanation.costs)},
                         {"nodes", ordered_json::array()}};
    auto const warnings = FindWarnings(explanation.costs, notes);
    for (std::size_t nNode = 0; nNode < explanation.costs.GetNodes().size(); ++nNode) {
        json["nodes"].push_back(ToJson(explanation.costs.GetNodes()[nNode], nNode, notes));
        ordered_json& list = json["nodes"].back()["warnings"] = ordered_json::array();
        for (SceneWarning const* const pWarning : warnings[nNode]) {
            list.push_back({{"id", GetWarningKind(pWarning->id).pName}, {"text", pWarning->GetText()}});
        }
    }
    // A driver's name may be in any encoding.
    return json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace kelvokit::player
