// The resources that effects share.

#include "DeviceTest.h"
#include "trevik/Allocation.h"
#include "trevik/ClassContainer.h"
#include "trevik/kelvo/EffectResource.h"

#include <vector>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

struct Counters {
    int created = 0;
    std::vector<int> order; ///< in which they were destroyed, by the order of their creation
};

Counters g_counters;

class CountedResource : public EffectResource {
public:
    CountedResource() : m_nNumber(g_counters.created++) {}
    ~CountedResource() override { g_counters.order.push_back(m_nNumber); }
    bool Init(GraphicsDevice&) override { return true; }

private:
    int m_nNumber;
};

constexpr unsigned int First = HashName("FirstCountedResource");
constexpr unsigned int Second = HashName("SecondCountedResource");
constexpr unsigned int Third = HashName("ThirdCountedResource");

class EffectCache : public DeviceTest {
protected:
    EffectCache() {
        g_counters = Counters();
        for (unsigned int const id : {First, Second, Third}) {
            m_registry.AddClassContainer(new ClassContainerT<CountedResource>(id));
        }
    }
};

TEST_F(EffectCache, ResourcesGoInTheOrderInWhichTheyCame) {
    for (bool const fWithDevice : {false, true}) {
        SCOPED_TRACE(fWithDevice);
        g_counters = Counters();
        Device().GetEffectResource(Second);
        // One that somebody else holds too outlives the table.
        Ref<EffectResource> pHeld(Device().GetEffectResource(First));
        Device().GetEffectResource(Third);
        if (fWithDevice) {
            m_pDevice.reset();
        } else {
            Device().ReleaseEffectResources();
        }
        EXPECT_EQ(g_counters.order, (std::vector<int>{0, 2}));
        EXPECT_EQ(pHeld->GetReferenceCount(), 1);
        pHeld.Reset();
        EXPECT_EQ(g_counters.order, (std::vector<int>{0, 2, 1}));
    }
}

TEST_F(EffectCache, WithoutMemoryAResourceIsHandedOutUncached) {
    // The table grows by eight entries at a time: the first of all and the ninth need more room.
    for (unsigned int const nCached : {0u, 8u}) {
        SCOPED_TRACE(nCached);
        for (unsigned int id = 1; id <= nCached; ++id) {
            m_registry.AddClassContainer(new ClassContainerT<CountedResource>(id));
            EXPECT_NE(Device().GetEffectResource(id), nullptr);
        }
        // The table consists of two blocks; neither may be had without the other.
        for (unsigned int const nAllowed : {0u, 1u}) {
            Allocation::FailAfter(nAllowed);
            Ref<EffectResource> const pResource(Device().GetEffectResource(First));
            Allocation::FailNever();
            ASSERT_TRUE(pResource);
            EXPECT_EQ(pResource->GetReferenceCount(), 2);
            int const nCreated = g_counters.created;
            for (unsigned int id = 1; id <= nCached; ++id) {
                EXPECT_NE(Device().GetEffectResource(id), pResource.Get());
            }
            EXPECT_EQ(g_counters.created, nCreated) << "what was cached still is";
            pResource->ReleaseReference(); // nobody else would
        }
        Ref<EffectResource> const pCached(Device().GetEffectResource(First));
        EXPECT_EQ(Device().GetEffectResource(First), pCached.Get()) << "the next request finds room";
        Device().ReleaseEffectResources();
    }
}

} // namespace
