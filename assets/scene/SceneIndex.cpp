#include "scene/SceneIndex.h"

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

unsigned int SceneIndex::Texts::Add(std::string const& text) {
    auto const [found, fNew] = m_numbers.try_emplace(text, static_cast<unsigned int>(m_texts.size()));
    if (fNew) {
        m_texts.push_back(&found->first);
    }
    return found->second;
}

class SceneIndex::Collector : public SceneVisitor {
public:
    explicit Collector(SceneIndex& index) : m_index(index) {}

    void Enter(SceneStep const& step) override {
        std::size_t const nEntry = m_index.m_entries.size();
        bool const fChild = step.role == SceneRole::Child;
        Note(step.place, step.DescribeUse(), step.node, m_above.empty() ? nEntry : m_above.back(), step.pKey,
             fChild ? static_cast<unsigned int>(step.nItem) : NoItem,
             step.role == SceneRole::Camera ? "Camera" : "Timeline");
        m_above.push_back(nEntry);
        TransformNode* const pTransform = step.node.GetTransformNode();
        if (pTransform && !pTransform->GetEffects().IsEmpty()) {
            NoteEffects(step, nEntry, pTransform->GetEffects());
        }
    }
    void Leave(SceneStep const&) override { m_above.pop_back(); }

private:
    void NoteEffects(SceneStep const& step, std::size_t nNode, List<Effect*> const& effects) {
        std::optional<JsonCursor> const places = step.place.Find("effects");
        std::size_t const nPlaces = places ? places->GetValue().GetItems().size() : 0;
        for (unsigned int n = 0; n < effects.GetCount() && n < nPlaces; ++n) {
            JsonCursor const place = places->GetItem(n);
            Note(place, step.DescribeUse({&place.GetValue(), &places->GetValue()}), *effects[n], nNode,
                 "effects", n, "");
        }
    }

    /** @param pClassName that of what needs no "class" there. */
    void Note(JsonCursor const& place, std::string const& use, Referenced const& object, std::size_t nAbove,
              char const* pKey, unsigned int nItem, char const* pClassName) {
        std::optional<JsonCursor> const className = place.Find("class");
        std::optional<JsonCursor> const name = place.Find("name");
        Texts& texts = m_index.m_texts;
        m_index.m_entries.push_back({&object, 0, nAbove, pKey, nItem, place.GetValue().GetLine(),
                                     texts.Add(place.GetFileName()), texts.Add(use),
                                     texts.Add(className ? className->ReadText() : std::string(pClassName)),
                                     name ? name->ReadText() : std::string()});
    }

    SceneIndex& m_index;
    std::vector<std::size_t> m_above; ///< the entries around the next node
};

void SceneIndex::Take(JsonCursor const& file, Timeline& built) {
    Collector collector(*this);
    WalkScene(file, built, collector);
    std::size_t nPlace = 0;
    auto entry = m_entries.begin();
    VisitObjects(built, [&](Referenced const& object) {
        if (entry != m_entries.end() && entry->pObject == &object) {
            entry->nPlace = nPlace;
            ++entry;
        }
        ++nPlace;
    });
}

void SceneIndex::MoveTo(Timeline& loaded) {
    std::size_t nPlace = 0;
    auto entry = m_entries.begin();
    VisitObjects(loaded, [&](Referenced const& object) {
        if (entry != m_entries.end() && entry->nPlace == nPlace) {
            entry->pObject = &object;
            ++entry;
        }
        ++nPlace;
    });
}

std::string SceneIndex::GetWay(Entry const& entry) const {
    if (!entry.pKey) {
        return "";
    }
    return GetWay(m_entries[entry.nAbove]) + "/" + entry.pKey +
           (entry.nItem == NoItem ? "" : "/" + std::to_string(entry.nItem));
}

SceneOrigins SceneIndex::MakeOrigins() const {
    SceneOrigins origins(m_entries.size());
    for (Entry const& entry : m_entries) {
        origins[entry.pObject] = {m_texts.Get(entry.nClassName), entry.name,
                                  m_texts.Get(entry.nFile),      entry.nLine,
                                  m_texts.Get(entry.nUse),       GetWay(entry)};
    }
    return origins;
}

} // namespace trevik::kelvo::assets
