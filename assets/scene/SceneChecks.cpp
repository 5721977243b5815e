#include "scene/SceneChecks.h"

#include <array>
#include <cstddef>

namespace trevik::kelvo::assets {

namespace {

constexpr decltype(&MakeResourceCheck) Makers[] = {
    &MakeResourceCheck,  &MakeDrawingCheck,    &MakeGroupCheck, &MakeBlurCheck,
    &MakeNinePatchCheck, &MakeBackgroundCheck, &MakeTimeCheck,  &MakeMinificationCheck};
constexpr std::size_t CheckCount = sizeof Makers / sizeof *Makers;

/**
 * All checks in one walk: of a large scene, neither the file's values nor the nodes stay in the processor's
 * cache from one walk to the next. Each has notes of its own, as their warnings come one check behind the
 * other.
 */
class AllChecks : public SceneVisitor {
public:
    explicit AllChecks(BuiltScene const& built) {
        for (std::size_t n = 0; n < CheckCount; ++n) {
            m_checks[n] = Makers[n](built, m_notes[n]);
        }
    }

    void Enter(SceneStep const& step) override {
        for (std::unique_ptr<SceneVisitor> const& pCheck : m_checks) {
            pCheck->Enter(step);
        }
    }
    void Leave(SceneStep const& step) override {
        for (std::unique_ptr<SceneVisitor> const& pCheck : m_checks) {
            pCheck->Leave(step);
        }
    }

    void GiveWarnings(SceneNotes& notes) const {
        for (SceneNotes const& own : m_notes) {
            notes.Warn(own.GetWarnings());
        }
    }

private:
    std::array<SceneNotes, CheckCount> m_notes;
    std::array<std::unique_ptr<SceneVisitor>, CheckCount> m_checks;
};

} // namespace

void CheckScene(BuiltScene const& built, SceneNotes& notes) {
    CheckResources(built, notes);
    AllChecks checks(built);
    WalkScene(built.file, *built.scene.GetRoot(), checks);
    checks.GiveWarnings(notes);
    notes.SortWarnings();
}

} // namespace trevik::kelvo::assets
