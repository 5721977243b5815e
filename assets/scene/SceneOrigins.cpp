#include "scene/SceneOrigins.h"

#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <string>

namespace trevik::kelvo::assets {

namespace {

/** Walks through a scene file and the nodes that it has become, side by side. */
class OriginWalk {
public:
    explicit OriginWalk(SceneNotes& notes) : m_notes(notes) {}

    void VisitNode(JsonCursor const& place, Node& node, char const* pClassName, char const* pChildren) {
        Note(place, node, pClassName);
        if (node.IsKindOf(Timeline::ClassID)) {
            VisitHeld(place, "camera", static_cast<Timeline&>(node).GetCamera());
        } else if (node.IsKindOf(Text::ClassID)) {
            VisitHeld(place, "background", static_cast<Text&>(node).GetBackground());
        }
        if (TransformNode* const pTransform = node.GetTransformNode()) {
            VisitItems(place, "effects", pTransform->GetEffects(),
                       [&](JsonCursor const& item, Effect& effect) { Note(item, effect, ""); });
        }
        VisitItems(place, pChildren, node.GetChildren(),
                   [&](JsonCursor const& item, Node& child) { VisitNode(item, child, "", "children"); });
    }

private:
    void VisitHeld(JsonCursor const& place, std::string const& key, Node* pNode) {
        std::optional<JsonCursor> const held = place.Find(key);
        if (held && pNode) {
            Within("/" + key, [&] { VisitNode(*held, *pNode, "Camera", "children"); });
        }
    }

    /** Visits the items of the array under `key` with the objects that they have become, in the same order.
     */
    template <class Objects, class Visit>
    void VisitItems(JsonCursor const& place, std::string const& key, Objects const& objects, Visit visit) {
        std::optional<JsonCursor> const items = place.Find(key);
        std::size_t const nCount =
            items ? std::min<std::size_t>(items->GetValue().GetItems().size(), objects.GetCount()) : 0;
        for (std::size_t n = 0; n < nCount; ++n) {
            Within("/" + key + "/" + std::to_string(n),
                   [&] { visit(items->GetItem(n), *objects[static_cast<unsigned int>(n)]); });
        }
    }

    template <class Visit>
    void Within(std::string const& step, Visit visit) {
        std::size_t const nLength = m_way.size();
        m_way += step;
        visit();
        m_way.resize(nLength);
    }

    void Note(JsonCursor const& place, Referenced const& object, char const* pClassName) {
        std::optional<JsonCursor> const className = place.Find("class");
        std::optional<JsonCursor> const name = place.Find("name");
        m_notes.AddOrigin(object, {className ? className->ReadText() : std::string(pClassName),
                                   name ? name->ReadText() : std::string(), place.GetFileName(),
                                   place.GetValue().GetLine(), place.DescribeUse(), m_way});
    }

    SceneNotes& m_notes;
    std::string m_way;
};

} // namespace

void NoteOrigins(JsonCursor const& file, Timeline& root, SceneNotes& notes) {
    OriginWalk(notes).VisitNode(file, root, "Timeline", "nodes");
}

} // namespace trevik::kelvo::assets
