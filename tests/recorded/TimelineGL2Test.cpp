// What a timeline sets up before its children and takes down after them.

#include "NodeTest.h"

#include "CameraGL2.h"
#include "TimelineGL2.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

/** Notes what timelines ask of their device. */
class WatchedDevice : public GraphicsDeviceGL2 {
public:
    explicit WatchedDevice(Strings& notes) : m_notes(notes) {}

    void PopCameraDepth(bool fDepth) override {
        Note("pop depth", fDepth);
        GraphicsDeviceGL2::PopCameraDepth(fDepth);
    }
    bool IsDepthTestEnabled() override {
        Note("is depth test");
        return GraphicsDeviceGL2::IsDepthTestEnabled();
    }
    void SetDepthTestEnabled(bool fEnabled) override {
        Note("set depth test", fEnabled);
        GraphicsDeviceGL2::SetDepthTestEnabled(fEnabled);
    }

private:
    void Note(char const* what) { m_notes.push_back(what); }
    void Note(char const* what, bool fValue) {
        m_notes.push_back(std::string(what) + (fValue ? " 1" : " 0"));
    }

    Strings& m_notes;
};

class TimelineGL2Test : public NodeTest {
protected:
    TimelineGL2Test() : m_pTimeline(new TimelineGL2) {
        m_pDevice = std::make_unique<WatchedDevice>(m_notes);
        StartDrawing();
        m_notes.clear();
    }

    /** What was asked since the last call. */
    Strings Notes() {
        Strings notes;
        notes.swap(m_notes);
        return notes;
    }

    Strings m_notes;
    Ref<TimelineGL2> m_pTimeline;
};

TEST_F(TimelineGL2Test, EffectsThatAnEffectAttachesAreCalledAfterIt) {
    Strings notes;
    m_pTimeline->AddEffect(new GrowingEffect(notes, *m_pTimeline));
    m_pTimeline->PreRenderChildren(Device());
    m_pTimeline->PostRenderChildren(Device());
    Strings expected(1 + GrowingEffect::Others, "other before");
    expected[0] = "first before";
    expected.push_back("first after");
    expected.resize(expected.size() + GrowingEffect::Others, "other after");
    EXPECT_EQ(notes, expected);
}

TEST_F(TimelineGL2Test, AnEffectThatRemovesItselfLeavesNoOtherOut) {
    struct LeavingEffect : NotingEffect {
        TransformNode& m_node;
        LeavingEffect(Strings& notes, TransformNode& node) : NotingEffect("first", notes), m_node(node) {}
        void PreRender(GraphicsDevice& device) override {
            m_node.RemoveEffect(this);
            NotingEffect::PreRender(device);
        }
    };
    Strings notes;
    m_pTimeline->AddEffect(new LeavingEffect(notes, *m_pTimeline));
    m_pTimeline->AddEffect(new NotingEffect("second", notes));
    m_pTimeline->PreRenderChildren(Device());
    m_pTimeline->PostRenderChildren(Device());
    EXPECT_EQ(notes, (Strings{"first before", "second before", "second after"}));
}

TEST_F(TimelineGL2Test, AfterTheChildrenTheDepthTestOfTheMomentIsAppliedAgain) {
    m_pTimeline->GetDepthTestProperty().SetValue(1);
    m_pTimeline->PreRenderChildren(Device());
    Device().SetDepthTestEnabled(false); // as a child may have done
    Notes();
    m_pTimeline->PostRenderChildren(Device());
    EXPECT_EQ(Notes(), (Strings{"is depth test", "set depth test 0", "pop depth 0"}));
}

TEST_F(TimelineGL2Test, ThePopTakesTheCameraDepthOfTheMoment) {
    Ref<CameraGL2> const pCamera(new CameraGL2);
    m_pTimeline->SetCamera(pCamera.Get());
    m_pTimeline->PreRenderChildren(Device());
    m_pTimeline->GetDepthProperty().SetValue(true);
    m_pTimeline->PostRenderChildren(Device());
    EXPECT_EQ(Notes().back(), "pop depth 1");
    // One level was pushed and none popped: below it the flag stays off.
    Device().PushCamera(pCamera.Get());
    Device().SetCameraDepth(true);
    EXPECT_EQ(Device().GetProjectionMatrix(), pCamera->GetProjectionMatrix());
}

TEST_F(TimelineGL2Test, RemembersTheActiveCameraByReference) {
    Camera* const pDefault = Device().GetActiveCamera();
    long const references = pDefault->GetReferenceCount();
    m_pTimeline->PreRenderChildren(Device());
    m_pTimeline->PostRenderChildren(Device());
    EXPECT_EQ(m_pTimeline->GetActiveCamera(), pDefault);
    EXPECT_EQ(pDefault->GetReferenceCount(), references + 1);
    Ref<CameraGL2> const pCamera(new CameraGL2);
    m_pTimeline->SetCamera(pCamera.Get());
    for (int i = 0; i < 2; ++i) {
        m_pTimeline->PreRenderChildren(Device());
        m_pTimeline->PostRenderChildren(Device());
        EXPECT_EQ(m_pTimeline->GetActiveCamera(), pCamera.Get());
        EXPECT_EQ(pCamera->GetReferenceCount(), 3) << "here, the timeline's own and the remembered one";
        EXPECT_EQ(pDefault->GetReferenceCount(), references);
    }
}

} // namespace
