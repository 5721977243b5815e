#include "scene/SceneOrigins.h"

#include "scene/SceneWalk.h"
#include "trevik/kelvo/Effect.h"

#include <algorithm>
#include <string>

namespace trevik::kelvo::assets {

namespace {

class OriginVisitor : public SceneVisitor {
public:
    explicit OriginVisitor(SceneNotes& notes) : m_notes(notes) {}

    void Enter(SceneStep const& step) override {
        Note(step.place, step.way, step.node, step.role == SceneRole::Camera ? "Camera" : "Timeline");
        std::optional<JsonCursor> const effects = step.place.Find("effects");
        TransformNode* const pTransform = step.node.GetTransformNode();
        if (!effects || !pTransform) {
            return;
        }
        std::size_t const nCount =
            std::min<std::size_t>(effects->GetValue().GetItems().size(), pTransform->GetEffects().GetCount());
        for (std::size_t n = 0; n < nCount; ++n) {
            Note(effects->GetItem(n), step.way + "/effects/" + std::to_string(n),
                 *pTransform->GetEffects()[static_cast<unsigned int>(n)], "");
        }
    }

private:
    /** @param pClassName that of what needs no "class" there. */
    void Note(JsonCursor const& place, std::string const& way, Referenced const& object,
              char const* pClassName) {
        std::optional<JsonCursor> const className = place.Find("class");
        std::optional<JsonCursor> const name = place.Find("name");
        m_notes.AddOrigin(object, {className ? className->ReadText() : std::string(pClassName),
                                   name ? name->ReadText() : std::string(), place.GetFileName(),
                                   place.GetValue().GetLine(), place.DescribeUse(), way});
    }

    SceneNotes& m_notes;
};

} // namespace

void NoteOrigins(JsonCursor const& file, Timeline& root, SceneNotes& notes) {
    OriginVisitor visitor(notes);
    WalkScene(file, root, visitor);
}

} // namespace trevik::kelvo::assets
