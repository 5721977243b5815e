// What the library shows to the host that loads it.

#include "EntryPoints.h"
#include "ExpectCalls.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"

#include <cstdint>
#include <memory>

namespace recording = kelvokit::recording;

extern "C" {
std::int32_t GetCurrentContentVersionStamp();
std::int32_t GetMinimumContentVersionStamp();
bool IsContentVersionStampOk(std::uint32_t stamp);
std::int32_t Java_com_omnar_trevik_fx_FxObject_GetMajorVersion(void* env, void* object);
std::int32_t Java_com_omnar_trevik_fx_FxObject_GetMinorVersion(void* env, void* object);
std::int32_t Java_com_omnar_trevik_fx_FxObject_GetBuildVersion(void* env, void* object);
}

namespace {

using namespace trevik;

class PluginEntry : public recording::Test {};

/** Notes the ids in the order in which they come, and can refuse them. */
class NotingRegistry : public ClassRegistry {
public:
    bool AddClassContainer(ClassContainer* container) override {
        m_ids.push_back(container->m_nClassID);
        if (m_fRefuse) {
            delete container;
            return false;
        }
        return ClassRegistry::AddClassContainer(container);
    }

    std::vector<unsigned int> m_ids;
    bool m_fRefuse = false;
};

std::vector<unsigned int> const g_ids = {429067420,  725709262,  1369848476, 976334198,  2089606378,
                                         2089113820, 1820376881, 398256194,  1275558941, 736534972,
                                         293960727,  1371900437, 717217456,  2069643382};

TEST_F(PluginEntry, RegistersItsClassesInOrderWhateverTheRegistryMakesOfThem) {
    for (bool const fRefuse : {false, true}) {
        NotingRegistry registry;
        registry.m_fRefuse = fRefuse;
        EXPECT_TRUE(Initialize(&registry));
        EXPECT_EQ(registry.m_ids, g_ids);
        for (unsigned int const id : g_ids) {
            std::unique_ptr<Referenced> const pObject(registry.Create(id));
            EXPECT_EQ(pObject == nullptr, fRefuse) << id;
        }
    }
    EXPECT_CALLS();
}

TEST_F(PluginEntry, ADeviceIsMadeWithoutTouchingTheDriverAndShutdownIsHarmless) {
    Shutdown();
    EXPECT_NE(std::unique_ptr<kelvo::GraphicsDevice>(CreateDevice()), nullptr);
    Shutdown();
    EXPECT_CALLS();
}

TEST(Version, IsTheSameInEveryForm) {
    EXPECT_STREQ(GetTrevikVersion(), "01.1213.02");
    EXPECT_EQ(GetTrevikVersionMajor(), 1);
    EXPECT_EQ(GetTrevikVersionMinor(), 1213);
    EXPECT_EQ(GetTrevikVersionBuild(), 2);
    EXPECT_EQ(GetTrevikVersionStamp(), 1121302);
    EXPECT_EQ(Java_com_omnar_trevik_fx_FxObject_GetMajorVersion(nullptr, nullptr), 1);
    EXPECT_EQ(Java_com_omnar_trevik_fx_FxObject_GetMinorVersion(nullptr, nullptr), 1213);
    EXPECT_EQ(Java_com_omnar_trevik_fx_FxObject_GetBuildVersion(nullptr, nullptr), 2);
}

TEST(Version, ContentOfThisVersionAndOlderIsFine) {
    EXPECT_EQ(GetCurrentContentVersionStamp(), 2);
    EXPECT_EQ(GetMinimumContentVersionStamp(), 0);
    for (std::uint32_t const stamp : {0u, 1u, 2u}) {
        EXPECT_TRUE(IsContentVersionStampOk(stamp)) << stamp;
    }
    for (std::uint32_t const stamp : {3u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(IsContentVersionStampOk(stamp)) << stamp;
    }
}

} // namespace
