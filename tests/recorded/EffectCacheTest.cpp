// The resources that effects share.

#include "DeviceTest.h"

#include "trevik/Allocation.h"
#include "trevik/ClassContainer.h"
#include "trevik/kelvo/EffectResource.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

struct Counters {
    int created = 0;
    int initialised = 0;
    int destroyed = 0;
    bool fail = false;
    GraphicsDevice* pDevice = nullptr;
};

Counters g_counters;

class CountedResource : public EffectResource {
public:
    CountedResource() { ++g_counters.created; }
    ~CountedResource() override { ++g_counters.destroyed; }

    bool Init(GraphicsDevice& device) override {
        ++g_counters.initialised;
        g_counters.pDevice = &device;
        return !g_counters.fail;
    }
};

constexpr unsigned int First = HashName("FirstCountedResource");
constexpr unsigned int Second = HashName("SecondCountedResource");

class EffectCache : public DeviceTest {
protected:
    EffectCache() {
        g_counters = Counters();
        m_registry.AddClassContainer(new ClassContainerT<CountedResource>(First));
        m_registry.AddClassContainer(new ClassContainerT<CountedResource>(Second));
    }
};

TEST_F(EffectCache, MakesOneResourceForEachClassOnFirstDemand) {
    EffectResource* const pFirst = Device().GetEffectResource(First);
    ASSERT_NE(pFirst, nullptr);
    EXPECT_EQ(g_counters.pDevice, &Device());
    EXPECT_EQ(pFirst->GetReferenceCount(), 1);
    EffectResource* const pSecond = Device().GetEffectResource(Second);
    EXPECT_NE(pSecond, pFirst);
    EXPECT_EQ(Device().GetEffectResource(First), pFirst);
    EXPECT_EQ(Device().GetEffectResource(Second), pSecond);
    EXPECT_EQ(g_counters.created, 2);
    EXPECT_EQ(g_counters.initialised, 2);
}

TEST_F(EffectCache, AnUnknownClassGivesNull) {
    EXPECT_EQ(Device().GetEffectResource(HashName("NoSuchResource")), nullptr);
    EXPECT_EQ(Device().GetEffectResource(HashName("NoSuchResource")), nullptr);
}

TEST_F(EffectCache, AResourceThatDoesNotInitialiseIsDestroyedAtOnceAndTriedAgain) {
    g_counters.fail = true;
    EXPECT_EQ(Device().GetEffectResource(First), nullptr);
    EXPECT_EQ(g_counters.destroyed, 1);
    g_counters.fail = false;
    EXPECT_NE(Device().GetEffectResource(First), nullptr);
    EXPECT_EQ(g_counters.created, 2);
    EXPECT_EQ(g_counters.destroyed, 1);
}

TEST_F(EffectCache, AReleasedResourceIsMadeAnew) {
    Device().GetEffectResource(First);
    Device().GetEffectResource(Second);
    Device().ReleaseEffectResources();
    EXPECT_EQ(g_counters.destroyed, 2);
    EXPECT_NE(Device().GetEffectResource(First), nullptr);
    EXPECT_EQ(g_counters.initialised, 3);
    m_pDevice.reset();
    EXPECT_EQ(g_counters.destroyed, 3);
}

TEST_F(EffectCache, ManyClassesAreToldApart) {
    std::vector<EffectResource*> resources;
    for (unsigned int id = 1; id <= 20; ++id) {
        m_registry.AddClassContainer(new ClassContainerT<CountedResource>(id));
        resources.push_back(Device().GetEffectResource(id));
    }
    for (unsigned int id = 1; id <= 20; ++id) {
        EXPECT_EQ(Device().GetEffectResource(id), resources[id - 1]);
    }
    EXPECT_EQ(g_counters.created, 20);
}

TEST_F(EffectCache, WithoutMemoryAResourceIsHandedOutUncached) {
    Allocation::FailAfter(0);
    Ref<EffectResource> const pResource(Device().GetEffectResource(First));
    Allocation::FailNever();
    ASSERT_TRUE(pResource);
    EXPECT_EQ(pResource->GetReferenceCount(), 2);
    EXPECT_NE(Device().GetEffectResource(First), pResource.Get());
    pResource->ReleaseReference(); // nobody else would
}

} // namespace
