#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/Vector3Property.h"

namespace trevik::kelvo {
namespace {

/** An owner with some properties. */
struct Owner {
    Owner() {
        m_list.Register(u"Opacity", &m_opacity);
        m_list.Register(HashName("Position"), &m_position);
        m_list.Register(u"Caption", &m_caption);
    }

    PropertyList m_list;
    RealProperty m_opacity{1.0f};
    Vector3Property m_position;
    StringProperty m_caption;
};

Ref<Controller<RealFloat>> MakeRamp() {
    RealFloat const samples[] = {0, 10};
    return SampleController<RealFloat>::Create(0, samples, 2);
}

TEST(PropertyList, RegisteredPropertiesAreFoundWithTheirKind) {
    Owner owner;
    PropertyList::Entry const* pEntry = owner.m_list.Find(HashName("Opacity"));
    ASSERT_TRUE(pEntry);
    EXPECT_EQ(pEntry->m_pProperty, &owner.m_opacity);
    EXPECT_EQ(pEntry->m_pDescriptor->m_type, PropertyType::Real);
    EXPECT_STREQ(String8(String16(pEntry->m_pDescriptor->m_pName)).GetData(), "Opacity");
    EXPECT_EQ(owner.m_position.GetID(), HashName("Position"));
    EXPECT_EQ(owner.m_list.Find(HashName("Position"))->m_pDescriptor->m_type, PropertyType::Vector3);
    EXPECT_EQ(owner.m_list.Find(HashName("Nothing")), nullptr);
    EXPECT_EQ(owner.m_list.GetCount(), 3u);
}

TEST(PropertyList, ThreadsThatRegisterAtOnceShareDescriptors) {
    constexpr int ThreadCount = 4;
    constexpr unsigned int PropertyCount = 300;
    PropertyList lists[ThreadCount];
    std::vector<RealProperty> properties[ThreadCount];
    ::kelvo::test::RunOnThreads(ThreadCount, [&](int nThread) {
        properties[nThread] = std::vector<RealProperty>(PropertyCount);
        for (unsigned int n = 0; n < PropertyCount; ++n) {
            lists[nThread].Register(1000000 + n, &properties[nThread][n]); // ids that nothing else has
        }
    });
    for (unsigned int nEntry = 0; nEntry < PropertyCount; ++nEntry) {
        for (PropertyList const& list : lists) {
            EXPECT_EQ(list.GetEntry(nEntry).m_pDescriptor, lists[0].GetEntry(nEntry).m_pDescriptor);
        }
    }
}

TEST(PropertyList, LaterRegistrationUnderAnIdReplacesTheEarlier) {
    Owner owner;
    IntProperty number;
    EXPECT_TRUE(owner.m_list.Register(u"Opacity", &number));
    EXPECT_EQ(owner.m_list.GetCount(), 3u);
    EXPECT_EQ(owner.m_list.Find(HashName("Opacity"))->m_pProperty, &number);
    EXPECT_EQ(owner.m_list.Find(HashName("Opacity"))->m_pDescriptor->m_type, PropertyType::Int);
}

TEST(PropertyList, CopiedOwnerStartsWithoutRegistrations) {
    Owner owner;
    PropertyList const copy(owner.m_list);
    EXPECT_EQ(copy.GetCount(), 0u);
    PropertyList assigned;
    RealProperty property;
    assigned.Register(u"Opacity", &property);
    assigned = owner.m_list;
    EXPECT_EQ(assigned.GetEntry(0).m_pProperty, &property);
}

TEST(PropertyList, UpdateDrivesWhatHasGainedAController) {
    Owner owner;
    owner.m_list.Update(UpdateContext(), 1);
    EXPECT_FALSE(owner.m_list.HasAnimated());
    owner.m_opacity.AddController(MakeRamp());
    owner.m_list.Update(UpdateContext(), 0.5f);
    EXPECT_TRUE(owner.m_list.HasAnimated());
    EXPECT_EQ(owner.m_opacity.GetValue(), 5);

    RealProperty late;
    late.AddController(MakeRamp());
    owner.m_list.Register(u"Late", &late);
    owner.m_list.Update(UpdateContext(), 1);
    EXPECT_EQ(late.GetValue(), 10) << "animated before it was registered";
}

TEST(PropertyList, PropertyOfUnknownKindIsAlwaysUpdated) {
    class Probe : public Property {
    public:
        void Update(UpdateContext const&, RealFloat const& frame) override { m_frame = frame; }
        bool Load(Deserializer&) override { return true; }
        RealFloat m_frame = 0;
    } probe;
    PropertyList list;
    EXPECT_TRUE(list.Register(17u, &probe));
    EXPECT_FALSE(list.Register(18u, static_cast<Property*>(nullptr)));
    list.Update(UpdateContext(), 3);
    EXPECT_EQ(probe.m_frame, 3);
}

TEST(PropertyList, AbsentPropertiesKeepTheirValuesAndUnknownOnesAreSkipped) {
    Ref<DocumentNode> pNode(new DocumentNode(0, 0));
    Ref<DocumentNode> pUnknown(new DocumentNode(HashName("Property"), HashName("Nothing")));
    Ref<DocumentNode> pOtherTag(new DocumentNode(HashName("Child"), HashName("Opacity")));
    Ref<DocumentNode> pKnown(new DocumentNode(HashName("Property"), HashName("Opacity")));
    AddBytes(*pKnown, DocumentID::Value, BytesOf(0.5f));
    for (Ref<DocumentNode> const& pChild : {pUnknown, pOtherTag, pKnown}) {
        pNode->AddChild(pChild);
    }
    Owner owner;
    owner.m_position.SetValue(Vector3(1, 2, 3));
    EXPECT_TRUE(LoadFrom(pNode, owner.m_list));
    EXPECT_EQ(owner.m_opacity.GetValue(), 0.5f);
    EXPECT_EQ(owner.m_position.GetValue(), Vector3(1, 2, 3));
}

TEST(PropertyList, WithoutMemoryNothingIsRegistered) {
    PropertyList list;
    RealProperty property;
    Owner interned; // its descriptors exist from here on
    Allocation::FailAfter(0);
    bool const fRegistered = list.Register(u"Opacity", &property);
    Allocation::FailNever();
    EXPECT_FALSE(fRegistered);
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_TRUE(list.Register(u"Opacity", &property));
    EXPECT_FALSE(SaveToNode(list)) << "something would be missing";
    list.Clear();
    EXPECT_TRUE(SaveToNode(list));
}

} // namespace
} // namespace trevik::kelvo
