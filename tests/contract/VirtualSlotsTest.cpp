// The order of virtual operations is binding between host and back ends. Slot numbers are read out of
// pointers to member functions, as the Itanium C++ ABI lays them out, and compared with the agreed lists;
// slots 0 and 1 are the destructor's.

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

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

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

/** Whether operations follow one another from a slot on, as in the agreed list. */
template <class... Member>
testing::AssertionResult AreSlots(std::ptrdiff_t nFirst, Member... members) {
    std::ptrdiff_t const slots[] = {SlotOf(members)...};
    for (std::size_t n = 0; n < sizeof...(members); ++n) {
        if (slots[n] != nFirst + static_cast<std::ptrdiff_t>(n)) {
            return testing::AssertionFailure() << "number " << n << " of the list has slot " << slots[n];
        }
    }
    return testing::AssertionSuccess();
}

/** One of several operations of a name, told by its arguments. */
template <class Function, class Class>
Function Class::* Of(Function Class::* member) {
    return member;
}

constexpr std::ptrdiff_t AfterDestructor = 2;
constexpr std::ptrdiff_t AfterNode = AfterDestructor + 8 + 28;

TEST(VirtualSlots, NodesHaveReflectionThenSceneOperationsAndClassesAppendTheirOwn) {
    typedef Node N;
    EXPECT_TRUE(AreSlots(AfterDestructor, &N::Clone, &N::GetClassID, &N::GetClassSize, &N::GetClassName,
                         &N::Accept, &N::CloneTree, &N::IsKindOf, &N::GetFactoryClassID));
    EXPECT_TRUE(
        AreSlots(AfterDestructor + 8, &N::Reset, &N::SetUserData, Of<NodeUserdata*()>(&N::GetUserData),
                 Of<NodeUserdata const*() const>(&N::GetUserData), &N::Attach, &N::AttachBefore,
                 &N::AttachAfter, &N::Detach, &N::GetWorldMatrix, &N::GetOpacity,
                 Of<void(GraphicsDevice&, RealFloat const&)>(&N::Update),
                 Of<void(GraphicsDevice&, RealFloat const&, RealFloat const&, bool)>(&N::Update), &N::Render,
                 &N::Save, &N::Load, &N::Reload, &N::Emit, &N::GetParents, &N::RegisterProperties,
                 &N::InternalUpdate, &N::InternalRender, &N::InternalSelect, &N::InternalSave,
                 &N::InternalLoad, &N::AddMask, &N::AddEffect, &N::CalculateTransform, &N::IsSelect));
    EXPECT_TRUE(AreSlots(AfterNode, &Camera::GetViewMatrix, &Camera::GetProjectionMatrix,
                         &Camera::CalculateProjection));
    EXPECT_TRUE(AreSlots(AfterNode, &Sprite::GetTexture, &Sprite::SetTexture, &Sprite::Isolate,
                         &SpriteGL2::InternalRenderNonBlended));
    EXPECT_TRUE(AreSlots(AfterNode, &Text::RenderImageBatch));
    typedef Timeline T;
    EXPECT_TRUE(AreSlots(AfterNode, &T::Play, &T::Stop, &T::GetFrame, &T::SetFrame, &T::SetFrameDelay,
                         &T::GetTimeMapFunction, &T::SetTimeMapFunction, &T::UpdateSynchronous,
                         &T::PreRenderChildren, &T::PostRenderChildren, &T::ProcessPlaybackMode,
                         &T::UpdateTree, &T::BuildUpdateTree));
}

TEST(VirtualSlots, OfEffectsFontsAndTextures) {
    typedef Effect E;
    EXPECT_TRUE(AreSlots(AfterDestructor, &E::Clone, &E::GetClassID, &E::GetClassSize, &E::IsKindOf,
                         &E::GetResourceClassID, &E::Init, &E::Update, &E::PreRender, &E::PostRender,
                         &E::OverrideDrawSprite, &E::OverrideDrawText, &E::Emit, &E::RegisterProperties,
                         &E::InternalInit, &E::InternalUpdate));
    EXPECT_TRUE(AreSlots(AfterDestructor, &EffectResource::Init));
    typedef Font F;
    EXPECT_TRUE(AreSlots(AfterDestructor, &F::GetXPixelsPerEm, &F::GetYPixelsPerEm, &F::GetScaleFactorX,
                         &F::GetScaleFactorY, &F::GetAscent, &F::GetDescent, &F::GetLeading, &F::Initialize,
                         &F::GenerateID, &F::RenderGlyphBatch, &F::Save, &F::Load, &F::GetGlyph, &F::Emit));
    typedef Texture T;
    EXPECT_TRUE(AreSlots(AfterDestructor, &T::GetStride, &T::Compress, &T::Save, &T::Load, &T::Emit,
                         &T::IsPromoted, &T::Promote, &T::Demote, &T::GetSurfaceInfo, &T::Lock, &T::Unlock,
                         &T::Swap, &T::Current, &T::Count, &T::Replace, &T::CreateJavaBitmapFromTexture,
                         &T::PromoteToSurface));
}

TEST(VirtualSlots, OfTheDevice) {
    typedef GraphicsDevice D;
    typedef RectangleT<int> const& Rectangle;
    EXPECT_TRUE(AreSlots(
        AfterDestructor, &D::Initialize, Of<bool(Rectangle)>(&D::Reset), Of<bool(void*)>(&D::Reset),
        &D::SetClearColor, &D::GetClearColor, &D::Clear, Of<void(Rectangle)>(&D::SetViewport),
        Of<void(int, int, int, int)>(&D::SetViewport), &D::GetViewport, &D::ProjectCoordinate,
        &D::HitProjection, &D::SetRenderMode, &D::SetSelectionMode, &D::GetSelectionPoint, &D::PushSelected,
        &D::GetProjectionMatrix, &D::GetViewMatrix, &D::GetViewportMatrix, &D::GetActiveCamera, &D::Process,
        &D::Present, &D::ReadPixels, &D::IsDepthTestEnabled, &D::SetDepthTestEnabled, &D::GetEffectResource,
        &D::PushOpacity, &D::PopOpacity, &D::MergeOpacity, &D::GetOpacity, &D::PushTransformMatrix,
        &D::PopTransformMatrix, &D::MergeTransformMatrix, &D::GetTransformMatrix, &D::PushMasks, &D::PopMasks,
        &D::PushCamera, &D::PushCamera2D, &D::PopCamera, &D::PushCameraDepth, &D::PopCameraDepth,
        &D::SetCameraDepth));
}

TEST(VirtualSlots, OfPropertiesServicesMasksAndVisitors) {
    typedef BaseProperty<RealFloat> P;
    EXPECT_TRUE(AreSlots(AfterDestructor, &Property::Initialize, &Property::Update, &Property::Load,
                         &Property::Save, &Property::Emit, &P::SetValue, &P::Assign, &P::Copy));
    typedef Controller<RealFloat> C;
    EXPECT_TRUE(AreSlots(AfterDestructor, &C::Evaluate, &C::IsFinished, &C::Load, &C::Save));
    typedef PropertyBinding<RealFloat> B;
    EXPECT_TRUE(AreSlots(AfterDestructor, &B::GetValue, &B::SetValue, &B::GetWritableValue, &B::Notify));
    EXPECT_TRUE(AreSlots(AfterDestructor, &ClassContainer::Create, &ClassContainer::GetKind));
    EXPECT_TRUE(AreSlots(AfterDestructor, &ClassRegistry::AddClassContainer));
    EXPECT_TRUE(AreSlots(AfterDestructor, &Dispatcher::Enqueue));
    EXPECT_TRUE(AreSlots(AfterDestructor + 3, &Mask::GetGeometry));
    EXPECT_TRUE(AreSlots(AfterDestructor, &ITraceable::Emit));
    typedef NodeVisitor V; // which has no destructor
    EXPECT_TRUE(
        AreSlots(0, &V::VisitNode, &V::VisitDrawable, &V::VisitCamera, &V::VisitGroup, &V::VisitTimeline));
}

TEST(VirtualSlots, NothingIsVirtualThatTheHostCallsDirectly) {
    EXPECT_EQ(SlotOf(&Camera::SetupMillimeter), -1);
    EXPECT_EQ(SlotOf(&Texture::IsCompressed), -1);
    EXPECT_EQ(SlotOf(&Text::GetTextRenderRect), -1);
    EXPECT_EQ(SlotOf(&GraphicsDevice::CreateEffectResource), -1);
}

} // namespace
