#include "trevik/kelvo/PropertyList.h"

#include "PropertyTestSupport.h"
#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/RealProperty.h"

#include <gtest/gtest.h>

#include <utility>

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
    long long nLive = 0;
    for (int n = 0; n < 100; ++n) {
        EXPECT_TRUE(n % 2 == 0 ? list.Register(u"Opacity", &real) : list.Register(u"Opacity", &number));
        nLive = n == 50 ? Allocation::GetLiveCount() : nLive;
    }
    EXPECT_EQ(Allocation::GetLiveCount(), nLive) << "however often";
    EXPECT_EQ(list.GetEntry(0).m_pProperty, &number);
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
    EXPECT_FALSE(std::as_const(list).HasAnimated());
    EXPECT_TRUE(list.Register(17u, &probe));
    list.Update(UpdateContext(), 3);
    EXPECT_EQ(probe.m_frame, 3);
}

TEST(PropertyList, WhatHasNoControllerAnyMoreIsNotTakenForTheOwnersForEver) {
    PropertyList list;
    RealProperty early, late;
    list.Register(u"Early", &early);
    list.Register(u"Late", &late);
    early.AddController(MakeRamp());
    late.AddController(MakeRamp());
    Property const* const own[] = {&early, &late};
    EXPECT_EQ(list.FindOwn(own, 2), 3u);
    early.RemoveControllers();
    list.UpdateBehind(1, UpdateContext(), 0.5f);
    EXPECT_EQ(list.GetOwn(), 3u) << "the first one has not been looked at";
    list.UpdateBehind(0, UpdateContext(), 1);
    EXPECT_EQ(late.GetValue(), 10);
    EXPECT_EQ(list.GetOwn(), PropertyList::Unfound);
    EXPECT_EQ(list.FindOwn(own, 2), 2u);
}

/** An object with a list and properties, as nodes are. */
struct Owner {
    bool Register(unsigned int nFirstID) {
        return m_list.Register(nFirstID, &m_first) && m_list.Register(nFirstID + 1, &m_second);
    }
    PropertyList m_list;
    RealProperty m_first, m_second;
};

/** An id that no test has used yet, also when tests are repeated, with room for more behind it. */
unsigned int MakeID() {
    static unsigned int s_nID = 2000000;
    return s_nID += 1000;
}

TEST(PropertyList, ObjectsOfOneClassShareWhatIsRegistered) {
    unsigned int const nID = MakeID();
    Owner first, other;
    EXPECT_TRUE(first.Register(nID));
    unsigned long long const nAllocations = Allocation::GetCount();
    EXPECT_TRUE(other.Register(nID));
    EXPECT_EQ(Allocation::GetCount(), nAllocations);
    EXPECT_EQ(other.m_list.Find(nID + 1)->m_pProperty, &other.m_second);
    EXPECT_EQ(other.m_list.GetEntry(0).m_pDescriptor, first.m_list.GetEntry(0).m_pDescriptor);

    RealProperty own; // what one object has more, the others have not
    EXPECT_TRUE(other.m_list.Register(nID + 2, &own));
    EXPECT_TRUE(other.m_list.Register(nID, &own));
    EXPECT_EQ(other.m_list.GetCount(), 3u);
    EXPECT_EQ(other.m_list.GetEntry(0).m_pProperty, &own);
    EXPECT_EQ(first.m_list.GetCount(), 2u);
    EXPECT_EQ(first.m_list.GetEntry(0).m_pProperty, &first.m_first);
    EXPECT_FALSE(first.m_list.Find(nID + 2));
    EXPECT_EQ(PropertyList(other.m_list).Find(nID), nullptr) << "a copy's owner registers its own";
}

TEST(PropertyList, PropertiesThatLieElsewhereEachTimeLeaveNothingBehind) {
    unsigned int const nID = MakeID();
    std::vector<RealProperty> properties(100);
    long long nLive = 0;
    for (unsigned int n = 0; n < properties.size(); ++n) {
        if (n == properties.size() / 2) {
            nLive = Allocation::GetLiveCount(); // by now it is known that no class registers them
        }
        Owner owner;
        EXPECT_TRUE(owner.m_list.Register(nID + 2, &properties[n]));
        EXPECT_TRUE(owner.Register(nID));
        EXPECT_TRUE(owner.m_list.Register(nID, &properties[n]));
        ASSERT_EQ(owner.m_list.GetCount(), 3u);
        EXPECT_EQ(owner.m_list.GetEntry(0).m_pProperty, &properties[n]);
        EXPECT_EQ(owner.m_list.Find(nID)->m_pProperty, &properties[n]);
        EXPECT_EQ(owner.m_list.Find(nID + 1)->m_pProperty, &owner.m_second);
    }
    EXPECT_EQ(Allocation::GetLiveCount(), nLive);
}

TEST(PropertyList, AnyNumberIsUpdatedInTheOrderOfRegistration) {
    /** Notes its id when it is updated. */
    class Noting : public IntProperty {
    public:
        void Update(UpdateContext const&, RealFloat const&) override { m_pUpdated->push_back(GetID()); }
        std::vector<unsigned int>* m_pUpdated = nullptr;
    };
    Ref<Controller<int>> const pController(new SampleController<int>);
    for (unsigned int nCount : {1u, 2u, 29u, 30u, 31u, 32u, 33u, 65u, 130u}) {
        // All of them, only the last ones, and one of the last with none before.
        for (unsigned int nStep : {1u, 3u, nCount}) {
            unsigned int const nID = MakeID();
            std::vector<unsigned int> updated, expected;
            std::vector<Noting> properties(nCount);
            PropertyList list;
            for (unsigned int n = nCount; n-- > 0;) {
                properties[n].m_pUpdated = &updated;
                ASSERT_TRUE(list.Register(nID + n, &properties[n]));
            }
            for (unsigned int n = nCount; n-- > 0;) {
                if (n % nStep == 0) {
                    properties[n].AddController(pController);
                    expected.push_back(nID + n);
                }
            }
            list.Update(UpdateContext(), 0);
            EXPECT_EQ(updated, expected) << nCount << ", " << nStep;
        }
    }
}

TEST(PropertyList, OneThatLacksSomethingIsNotSaved) {
    for (unsigned int nFirst = 0; nFirst < 2; ++nFirst) { // a list that shares its shape; one of its own
        unsigned int const nID = MakeID();
        std::vector<RealProperty> properties(100);
        PropertyList list;
        for (unsigned int n = 0; n < 64 * nFirst; ++n) {
            ASSERT_TRUE(list.Register(nID + n, &properties[n]));
        }
        Allocation::FailAfter(0);
        bool const fRegistered = list.Register(nID + 99, &properties[99]);
        Allocation::FailNever();
        EXPECT_FALSE(fRegistered);
        EXPECT_FALSE(list.Find(nID + 99));
        EXPECT_FALSE(SaveToNode(list));
        list.Clear();
        EXPECT_TRUE(SaveToNode(list));
    }
}

} // namespace
} // namespace trevik::kelvo
