// The order of virtual operations is binding between host and back ends. Slot numbers are read out of
// pointers to member functions, as the Itanium C++ ABI lays them out, and compared with the agreed lists;
// slots 0 and 1 are the destructor's.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "GraphicsDeviceGL2.h"
#include "SpriteGL2.h"
#include "trevik/ClassContainer.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Dispatcher.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/BitmapFont.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/EffectResource.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/Node.h"
#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/PropertyBinding.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Timeline.h"
#include "trevik/kelvo/TransformNode.h"

namespace {

using namespace trevik;
using namespace trevik::kelvo;

/** Slot of a virtual member function in its class's primary table; -1 for a function that is not virtual. */
template <class Member>
std::ptrdiff_t SlotOf(Member member) {
    struct {
        std::intptr_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof(member) == sizeof(parts), "the ABI's two-word pointer to member function");
    std::memcpy(&parts, &member, sizeof(parts));
#if defined(__aarch64__) || defined(__arm__)
    bool const fVirtual = (parts.adjustment & 1) != 0;
    std::intptr_t const offset = parts.pointer;
#else
    bool const fVirtual = (parts.pointer & 1) != 0;
    std::intptr_t const offset = parts.pointer - 1;
#endif
    return fVirtual ? offset / static_cast<std::intptr_t>(sizeof(void*)) : -1;
}

/** Counts up from a first slot, so that a list of operations reads as the agreed list does. */
class Slots {
public:
    explicit Slots(std::ptrdiff_t first) : m_next(first) {}

    template <class Member>
    Slots& Is(Member member, char const* name) {
        EXPECT_EQ(SlotOf(member), m_next) << name;
        ++m_next;
        return *this;
    }
    std::ptrdiff_t Next() const { return m_next; }

private:
    std::ptrdiff_t m_next;
};

#define IS(Operation) Is(&Operation, #Operation)
#define IS_AS(Type, Operation) Is(static_cast<Type>(&Operation), #Operation)

constexpr std::ptrdiff_t AfterDestructor = 2;
constexpr std::ptrdiff_t AfterNode = AfterDestructor + 8 + 28;

TEST(VirtualSlots, NodeHasReflectionThenSceneOperations) {
    Slots slots(AfterDestructor);
    slots.IS(Node::Clone).IS(Node::GetClassID).IS(Node::GetClassSize).IS(Node::GetClassName).IS(Node::Accept);
    slots.IS(Node::CloneTree).IS(Node::IsKindOf).IS(Node::GetFactoryClassID);
    slots.IS(Node::Reset).IS(Node::SetUserData);
    slots.IS_AS(NodeUserdata * (Node::*)(), Node::GetUserData);
    slots.IS_AS(NodeUserdata const* (Node::*)() const, Node::GetUserData);
    slots.IS(Node::Attach).IS(Node::AttachBefore).IS(Node::AttachAfter).IS(Node::Detach);
    slots.IS(Node::GetWorldMatrix).IS(Node::GetOpacity);
    typedef void (Node::*ShortUpdate)(GraphicsDevice&, RealFloat const&);
    typedef void (Node::*LongUpdate)(GraphicsDevice&, RealFloat const&, RealFloat const&, bool);
    slots.IS_AS(ShortUpdate, Node::Update).IS_AS(LongUpdate, Node::Update);
    slots.IS(Node::Render).IS(Node::Save).IS(Node::Load).IS(Node::Reload).IS(Node::Emit).IS(Node::GetParents);
    slots.IS(Node::RegisterProperties).IS(Node::InternalUpdate).IS(Node::InternalRender);
    slots.IS(Node::InternalSelect);
    slots.IS(Node::InternalSave).IS(Node::InternalLoad).IS(Node::AddMask).IS(Node::AddEffect);
    slots.IS(Node::CalculateTransform).IS(Node::IsSelect);
    EXPECT_EQ(slots.Next(), AfterNode);
}

TEST(VirtualSlots, NodeClassesAppendTheirOperations) {
    Slots(AfterNode)
        .IS(Camera::GetViewMatrix)
        .IS(Camera::GetProjectionMatrix)
        .IS(Camera::CalculateProjection);
    Slots(AfterNode).IS(Sprite::GetTexture).IS(Sprite::SetTexture).IS(Sprite::Isolate);
    EXPECT_EQ(SlotOf(&SpriteGL2::InternalRenderNonBlended), AfterNode + 3);
    Slots(AfterNode).IS(Text::RenderImageBatch);
    Slots timeline(AfterNode);
    timeline.IS(Timeline::Play).IS(Timeline::Stop).IS(Timeline::GetFrame).IS(Timeline::SetFrame);
    timeline.IS(Timeline::SetFrameDelay).IS(Timeline::GetTimeMapFunction).IS(Timeline::SetTimeMapFunction);
    timeline.IS(Timeline::UpdateSynchronous).IS(Timeline::PreRenderChildren).IS(Timeline::PostRenderChildren);
    timeline.IS(Timeline::ProcessPlaybackMode).IS(Timeline::UpdateTree).IS(Timeline::BuildUpdateTree);
}

TEST(VirtualSlots, VisitorHasFiveOperationsAndNoDestructor) {
    Slots slots(0);
    slots.IS(NodeVisitor::VisitNode).IS(NodeVisitor::VisitDrawable).IS(NodeVisitor::VisitCamera);
    slots.IS(NodeVisitor::VisitGroup).IS(NodeVisitor::VisitTimeline);
}

TEST(VirtualSlots, Effect) {
    Slots slots(AfterDestructor);
    slots.IS(Effect::Clone).IS(Effect::GetClassID).IS(Effect::GetClassSize).IS(Effect::IsKindOf);
    slots.IS(Effect::GetResourceClassID).IS(Effect::Init).IS(Effect::Update).IS(Effect::PreRender);
    slots.IS(Effect::PostRender).IS(Effect::OverrideDrawSprite).IS(Effect::OverrideDrawText).IS(Effect::Emit);
    slots.IS(Effect::RegisterProperties).IS(Effect::InternalInit).IS(Effect::InternalUpdate);
    Slots(AfterDestructor).IS(EffectResource::Init);
}

TEST(VirtualSlots, Font) {
    Slots slots(AfterDestructor);
    slots.IS(Font::GetXPixelsPerEm).IS(Font::GetYPixelsPerEm).IS(Font::GetScaleFactorX);
    slots.IS(Font::GetScaleFactorY);
    slots.IS(Font::GetAscent).IS(Font::GetDescent).IS(Font::GetLeading).IS(Font::Initialize);
    slots.IS(Font::GenerateID);
    slots.IS(Font::RenderGlyphBatch).IS(Font::Save).IS(Font::Load).IS(Font::GetGlyph).IS(Font::Emit);
}

TEST(VirtualSlots, Texture) {
    Slots slots(AfterDestructor);
    slots.IS(Texture::GetStride).IS(Texture::Compress).IS(Texture::Save).IS(Texture::Load).IS(Texture::Emit);
    slots.IS(Texture::IsPromoted).IS(Texture::Promote).IS(Texture::Demote).IS(Texture::GetSurfaceInfo);
    slots.IS(Texture::Lock).IS(Texture::Unlock).IS(Texture::Swap).IS(Texture::Current).IS(Texture::Count);
    slots.IS(Texture::Replace).IS(Texture::CreateJavaBitmapFromTexture).IS(Texture::PromoteToSurface);
}

TEST(VirtualSlots, GraphicsDevice) {
    typedef GraphicsDevice D;
    Slots slots(AfterDestructor);
    slots.IS(D::Initialize);
    slots.IS_AS(bool(D::*)(RectangleT<int> const&), D::Reset).IS_AS(bool(D::*)(void*), D::Reset);
    slots.IS(D::SetClearColor).IS(D::GetClearColor).IS(D::Clear);
    slots.IS_AS(void(D::*)(RectangleT<int> const&), D::SetViewport);
    slots.IS_AS(void(D::*)(int, int, int, int), D::SetViewport);
    slots.IS(D::GetViewport).IS(D::ProjectCoordinate).IS(D::HitProjection).IS(D::SetRenderMode);
    slots.IS(D::SetSelectionMode).IS(D::GetSelectionPoint).IS(D::PushSelected).IS(D::GetProjectionMatrix);
    slots.IS(D::GetViewMatrix).IS(D::GetViewportMatrix).IS(D::GetActiveCamera).IS(D::Process).IS(D::Present);
    slots.IS(D::ReadPixels).IS(D::IsDepthTestEnabled).IS(D::SetDepthTestEnabled).IS(D::GetEffectResource);
    slots.IS(D::PushOpacity).IS(D::PopOpacity).IS(D::MergeOpacity).IS(D::GetOpacity);
    slots.IS(D::PushTransformMatrix);
    slots.IS(D::PopTransformMatrix).IS(D::MergeTransformMatrix).IS(D::GetTransformMatrix).IS(D::PushMasks);
    slots.IS(D::PopMasks).IS(D::PushCamera).IS(D::PushCamera2D).IS(D::PopCamera).IS(D::PushCameraDepth);
    slots.IS(D::PopCameraDepth).IS(D::SetCameraDepth);
}

TEST(VirtualSlots, PropertiesAndControllers) {
    typedef BaseProperty<RealFloat> P;
    Slots property(AfterDestructor);
    property.IS(Property::Initialize).IS(Property::Update).IS(Property::Load).IS(Property::Save);
    property.IS(Property::Emit);
    Slots(property.Next()).IS(P::SetValue).IS(P::Assign).IS(P::Copy);
    typedef Controller<RealFloat> C;
    Slots(AfterDestructor).IS(C::Evaluate).IS(C::IsFinished).IS(C::Load).IS(C::Save);
    typedef PropertyBinding<RealFloat> B;
    // Third to sixth operation, counting the destructor's two entries.
    Slots(AfterDestructor).IS(B::GetValue).IS(B::SetValue).IS(B::GetWritableValue).IS(B::Notify);
}

TEST(VirtualSlots, ServicesAndMasks) {
    Slots(AfterDestructor).IS(ClassContainer::Create).IS(ClassContainer::GetKind);
    Slots(AfterDestructor).IS(ClassRegistry::AddClassContainer);
    Slots(AfterDestructor).IS(Dispatcher::Enqueue);
    // The geometry is the fourth operation after the destructor's entries.
    EXPECT_EQ(SlotOf(&Mask::GetGeometry), AfterDestructor + 3);
    Slots(0 + AfterDestructor).IS(ITraceable::Emit);
}

TEST(VirtualSlots, NothingIsVirtualThatTheHostCallsDirectly) {
    EXPECT_EQ(SlotOf(&Camera::SetupMillimeter), -1);
    EXPECT_EQ(SlotOf(&Texture::IsCompressed), -1);
    EXPECT_EQ(SlotOf(&Text::GetTextRenderRect), -1);
    EXPECT_EQ(SlotOf(&GraphicsDevice::CreateEffectResource), -1);
}

} // namespace
