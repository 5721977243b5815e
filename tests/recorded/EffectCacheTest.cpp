// The resources that effects share.

#include "DeviceTest.h"

#include "trevik/Allocation.h"
#include "trevik/ClassContainer.h"
#include "trevik/kelvo/EffectResource.h"

#include <vector>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

struct Counters {
    int created = 0;
    std::vector<int> order; ///< in which they were destroyed, by the order of their creation
    bool fail = false;
};

Counters g_counters;

class CountedResource : public EffectResource {
public:
    CountedResource() : m_nNumber(g_counters.created++) {}
    ~CountedResource() override { g_counters.order.push_back(m_nNumber); }
    bool Init(GraphicsDevice&) override { return !g_counters.fail; }

private:
    int m_nNumber;
};

/** Has a program of its own, which it leaves active. */
class ProgramResource : public CountedResource {
public:
    ShaderProgramGL2* GetProgram() { return m_pProgram.Get(); }

    bool Init(GraphicsDevice& device) override {
        m_pProgram->SetSource(ShaderType::Vertex, u"void main() {}");
        m_pProgram->SetSource(ShaderType::Fragment, u"void main() {}");
        m_pProgram->Compile();
        static_cast<GraphicsDeviceGL2&>(device).SetActiveShader(m_pProgram.Get());
        return CountedResource::Init(device);
    }

private:
    Ref<ShaderProgramGL2> m_pProgram{new ShaderProgramGL2};
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

TEST_F(EffectCache, AResourceGoesWithItsProgramThoughThatIsTheActiveOne) {
    BringUp();
    constexpr unsigned int Owner = HashName("ProgramResource");
    m_registry.AddClassContainer(new ClassContainerT<ProgramResource>(Owner));
    enum class Way { Released, Failing, HeldAndDrawnWith };
    for (Way const way : {Way::Released, Way::Failing, Way::HeldAndDrawnWith}) {
        SCOPED_TRACE(static_cast<int>(way));
        g_counters.fail = way == Way::Failing;
        Clear();
        ProgramResource* const pMade = static_cast<ProgramResource*>(Device().GetEffectResource(Owner));
        EXPECT_EQ(pMade == nullptr, g_counters.fail);
        Ref<ProgramResource> pHeld(way == Way::HeldAndDrawnWith ? pMade : nullptr);
        Device().ReleaseEffectResources();
        if (pHeld) {
            Device().SetActiveShader(nullptr);
            Device().SetActiveShader(pHeld->GetProgram());
            pHeld.Reset(); // the last effect that drew with it is gone
        }
        EXPECT_TRUE(CallsInOrder({"glUseProgram(0)", "glDeleteProgram"}));
        EXPECT_EQ(GetState().program, 0u);
        Device().SetActiveShader(Device().GetShader(-1)); // looks at the one that was active
        EXPECT_EQ(GetState().program, ProgramName(0));
        Device().SetActiveShader(nullptr);
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
