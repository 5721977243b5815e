#include "scene/SceneOrigins.h"

#include "scene/SceneWalk.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/** Calls `visit` with a node, its effects and what is below it or held by it, as WalkScene meets them. */
template <class Visit>
void VisitObjects(Node& node, Visit const& visit) {
    visit(node);
    if (TransformNode* const pTransform = node.GetTransformNode()) {
        for (Effect* const pEffect : pTransform->GetEffects()) {
            visit(*pEffect);
        }
    }
    Node* pHeld = nullptr;
    if (node.IsKindOf(Timeline::ClassID)) {
        pHeld = static_cast<Timeline&>(node).GetCamera();
    } else if (node.IsKindOf(Text::ClassID)) {
        pHeld = static_cast<Text&>(node).GetBackground();
    }
    if (pHeld) {
        VisitObjects(*pHeld, visit);
    }
    for (Node* const pChild : node.GetChildren()) {
        VisitObjects(*pChild, visit);
    }
}

} // namespace

class SceneOrigins::Collector : public SceneVisitor {
public:
    explicit Collector(std::vector<Placed>& placed) : m_placed(placed) {}

    void Enter(SceneStep const& step) override {
        std::string const way = step.GetWay();
        Note(step.place, way, step.node, step.role == SceneRole::Camera ? "Camera" : "Timeline");
        std::optional<JsonCursor> const effects = step.place.Find("effects");
        TransformNode* const pTransform = step.node.GetTransformNode();
        if (!effects || !pTransform) {
            return;
        }
        std::size_t const nCount =
            std::min<std::size_t>(effects->GetValue().GetItems().size(), pTransform->GetEffects().GetCount());
        for (std::size_t n = 0; n < nCount; ++n) {
            Note(effects->GetItem(n), way + "/effects/" + std::to_string(n),
                 *pTransform->GetEffects()[static_cast<unsigned int>(n)], "");
        }
    }

private:
    /** @param pClassName that of what needs no "class" there. */
    void Note(JsonCursor const& place, std::string const& way, Referenced const& object,
              char const* pClassName) {
        std::optional<JsonCursor> const className = place.Find("class");
        std::optional<JsonCursor> const name = place.Find("name");
        m_placed.push_back({&object,
                            {className ? className->ReadText() : std::string(pClassName),
                             name ? name->ReadText() : std::string(), place.GetFileName(),
                             place.GetValue().GetLine(), place.DescribeUse(), way},
                            0});
    }

    std::vector<Placed>& m_placed;
};

void SceneOrigins::Take(JsonCursor const& file, Timeline& built) {
    Collector collector(m_placed);
    WalkScene(file, built, collector);
    std::size_t nPlace = 0;
    auto placed = m_placed.begin();
    VisitObjects(built, [&](Referenced const& object) {
        if (placed != m_placed.end() && placed->pBuilt == &object) {
            placed->nPlace = nPlace;
            ++placed;
        }
        ++nPlace;
    });
}

void SceneOrigins::Give(Timeline& loaded, SceneNotes& notes) {
    std::size_t nPlace = 0;
    auto placed = m_placed.begin();
    VisitObjects(loaded, [&](Referenced const& object) {
        if (placed != m_placed.end() && placed->nPlace == nPlace) {
            notes.AddOrigin(object, std::move(placed->origin));
            ++placed;
        }
        ++nPlace;
    });
    m_placed.clear();
}

} // namespace trevik::kelvo::assets
