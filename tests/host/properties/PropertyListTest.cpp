#include "trevik/kelvo/PropertyList.h"

#include "PropertyTestSupport.h"
#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/RealProperty.h"

#include <gtest/gtest.h>

namespace trevik::kelvo {
namespace {

Ref<Controller<RealFloat>> MakeRamp() {
    RealFloat const samples[] = {0, 10};
    return SampleController<RealFloat>::Create(0, samples, 2);
}

TEST(PropertyList, ThreadsThatRegisterAtOnceShareDescriptors) {
    constexpr int ThreadCount = 4;
    constexpr unsigned int PropertyCount = 300;
    PropertyList lists[ThreadCount];
    std::vector<RealProperty> properties[ThreadCount];
    kelvokit::test::RunOnThreads(ThreadCount, [&](int nThread) {
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

TEST(PropertyList, ALaterPropertyReplacesTheOneOfItsId) {
    PropertyList list;
    RealProperty real;
    IntProperty number;
    EXPECT_TRUE(list.Register(u"Opacity", &real));
    EXPECT_TRUE(list.Register(u"Opacity", &number));
    ASSERT_EQ(list.GetCount(), 1u);
    EXPECT_EQ(list.GetEntry(0).m_pProperty, &number);
    EXPECT_EQ(list.GetEntry(0).m_pDescriptor->m_type, PropertyType::Int);
}

TEST(PropertyList, UpdateDrivesWhatHasGainedAController) {
    /** Of a kind that cannot be asked whether it is animated. */
    class Probe : public Property {
    public:
        void Update(UpdateContext const&, RealFloat const& frame) override { m_frame = frame; }
        bool Load(Deserializer&) override { return true; }
        RealFloat m_frame = 0;
    } probe;
    PropertyList list;
    RealProperty early, late;
    list.Register(u"Early", &early);
    list.Update(UpdateContext(), 1);
    EXPECT_FALSE(list.HasAnimated());
    early.AddController(MakeRamp());
    list.Update(UpdateContext(), 0.5f);
    EXPECT_TRUE(list.HasAnimated());
    EXPECT_EQ(early.GetValue(), 5);

    late.AddController(MakeRamp());
    list.Update(UpdateContext(), 0);
    EXPECT_TRUE(list.Register(u"Late", &late)); // animated before it was registered
    EXPECT_FALSE(list.Register(18u, static_cast<Property*>(nullptr)));
    list.Update(UpdateContext(), 1);
    EXPECT_EQ(late.GetValue(), 10);
    early.RemoveControllers();
    late.RemoveControllers();
    RealProperty(early).AddController(MakeRamp()); // which has all lists look again
    list.Update(UpdateContext(), 0);
    EXPECT_FALSE(list.HasAnimated());
    EXPECT_TRUE(list.Register(17u, &probe));
    list.Update(UpdateContext(), 3);
    EXPECT_EQ(probe.m_frame, 3);
}

TEST(PropertyList, OneThatLacksSomethingIsNotSaved) {
    PropertyList list;
    RealProperty property;
    Allocation::FailAfter(0);
    bool const fRegistered = list.Register(u"Opacity", &property);
    Allocation::FailNever();
    EXPECT_FALSE(fRegistered);
    EXPECT_FALSE(SaveToNode(list));
    list.Clear();
    EXPECT_TRUE(SaveToNode(list));
}

} // namespace
} // namespace trevik::kelvo
