// What a timeline sets up before its children and takes down after them.

#include "TimelineGL2.h"

#include "CameraGL2.h"
#include "NodeTest.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

/** Notes what is asked of it about the depth test. */
class WatchedDevice : public GraphicsDeviceGL2 {
public:
    bool IsDepthTestEnabled() override {
        m_notes.push_back("?");
        return GraphicsDeviceGL2::IsDepthTestEnabled();
    }
    void SetDepthTestEnabled(bool fEnabled) override {
        m_notes.push_back(fEnabled ? "on" : "off");
        GraphicsDeviceGL2::SetDepthTestEnabled(fEnabled);
    }
    Strings m_notes;
};

class TimelineGL2Test : public NodeTest {
protected:
    Ref<TimelineGL2> m_pTimeline{new TimelineGL2};
};

TEST_F(TimelineGL2Test, EffectsThatAnEffectAttachesAreCalledAfterItAndNoneIsLeftOutByAnEnd) {
    /** Leaves the node, after so many others were attached that their list moves. */
    struct LeavingEffect : NotingEffect {
        TransformNode& m_node;
        LeavingEffect(Strings& notes, TransformNode& node) : NotingEffect("first", notes), m_node(node) {}
        void PreRender(GraphicsDevice& device) override {
            NotingEffect::PreRender(device);
            for (int i = 0; i < 20; ++i) {
                m_node.AddEffect(new NotingEffect("other", m_notes));
            }
            m_node.RemoveEffect(this);
        }
    };
    Strings notes;
    m_pTimeline->AddEffect(new LeavingEffect(notes, *m_pTimeline));
    m_pTimeline->PreRenderChildren(Device());
    m_pTimeline->PostRenderChildren(Device());
    Strings expected(21, "other before");
    expected[0] = "first before";
    expected.resize(41, "other after");
    EXPECT_EQ(notes, expected);
}

TEST_F(TimelineGL2Test, AfterTheChildrenTheDepthTestOfTheMomentIsAppliedAgain) {
    WatchedDevice device;
    m_pTimeline->PreRenderChildren(device); // which leaves it as it is
    m_pTimeline->GetDepthTestProperty().SetValue(1);
    m_pTimeline->PreRenderChildren(device);
    device.SetDepthTestEnabled(false); // as a child may have done
    m_pTimeline->PostRenderChildren(device);
    EXPECT_EQ(device.m_notes, (Strings{"?", "?", "on", "off", "?", "off"}));
}

TEST_F(TimelineGL2Test, ThePopTakesTheCameraDepthOfTheMoment) {
    Ref<CameraGL2> const pCamera(new CameraGL2);
    m_pTimeline->SetCamera(pCamera.Get());
    m_pTimeline->PreRenderChildren(Device());
    m_pTimeline->GetDepthProperty().SetValue(true);
    m_pTimeline->PostRenderChildren(Device());
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
