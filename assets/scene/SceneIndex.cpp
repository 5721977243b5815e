#include "scene/SceneIndex.h"

#include "scene/SceneWalk.h"
#include "trevik/kelvo/Effect.h"

#include <algorithm>
#include <string>
#include <utility>

namespace trevik::kelvo::assets {

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
        unsigned int const nEntry = static_cast<unsigned int>(m_index.m_entries.size());
        bool const fChild = step.role == SceneRole::Child;
        Note(step.place, step.DescribeUse(), step.node, m_above.empty() ? nEntry : m_above.back(), step.pKey,
             fChild ? static_cast<unsigned int>(step.nItem) : NoItem,
             step.role == SceneRole::Camera ? "Camera" : "Timeline");
        m_above.push_back(nEntry);
        if (Node const& below = GetParentOfChildren(step); &below != &step.node) {
            NoteHelper(below, nEntry);
        }
        TransformNode* const pTransform = step.node.GetTransformNode();
        if (pTransform && !pTransform->GetEffects().IsEmpty()) {
            NoteEffects(step, nEntry, pTransform->GetEffects());
        }
    }
    void Leave(SceneStep const&) override { m_above.pop_back(); }

private:
    /** A node that no file describes comes from where the one above it does. */
    void NoteHelper(Node const& node, unsigned int nAbove) {
        Entry helper = m_index.m_entries[nAbove];
        helper.pObject = &node;
        helper.nClassName = m_index.m_texts.Add("TransformNode");
        helper.name.clear();
        m_index.m_entries.push_back(std::move(helper));
    }

    void NoteEffects(SceneStep const& step, unsigned int nNode, List<Effect*> const& effects) {
        std::optional<JsonCursor> const places = step.place.Find("effects");
        std::size_t const nPlaces = places ? places->GetValue().GetItems().size() : 0;
        for (unsigned int n = 0; n < effects.GetCount() && n < nPlaces; ++n) {
            JsonCursor const place = places->GetItem(n);
            Note(place, step.DescribeUse({&place.GetValue(), &places->GetValue()}), *effects[n], nNode,
                 "effects", n, "");
        }
    }

    /** @param pClassName that of what needs no "class" there. */
    void Note(JsonCursor const& place, std::string const& use, Referenced const& object, unsigned int nAbove,
              char const* pKey, unsigned int nItem, char const* pClassName) {
        std::optional<JsonCursor> const className = place.Find("class");
        std::optional<JsonCursor> const name = place.Find("name");
        Texts& texts = m_index.m_texts;
        m_index.m_entries.push_back({&object, pKey, nAbove, nItem, place.GetValue().GetLine(),
                                     texts.Add(place.GetFileName()), texts.Add(use),
                                     texts.Add(className ? className->ReadText() : std::string(pClassName)),
                                     name ? name->ReadText() : std::string()});
    }

    SceneIndex& m_index;
    std::vector<unsigned int> m_above; ///< the entries around the next node
};

SceneIndex::SceneIndex(JsonCursor const& file, Timeline& root) {
    Collector collector(*this);
    WalkScene(file, root, collector);
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
