#include "EglProgram.h"

#include <algorithm>

namespace kelvo::test {
namespace {

class PlatformConfig : public EglProgram {
protected:
    std::vector<EGLConfig> Choose(std::vector<EGLint> attributes) const {
        attributes.push_back(EGL_NONE);
        std::vector<EGLConfig> configs(256);
        EGLint nCount = -1;
        EXPECT_TRUE(eglChooseConfig(m_display, attributes.data(), configs.data(), 256, &nCount));
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
        configs.resize(nCount);
        return configs;
    }

    /** What a graphics device asks for: sizes, depth and stencil, and windows by default. */
    std::vector<EGLConfig> ChooseForDevice(ColourSizes sizes) const {
        return Choose({EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_BUFFER_SIZE,
                       sizes.r + sizes.g + sizes.b + sizes.a, EGL_RED_SIZE, sizes.r, EGL_GREEN_SIZE, sizes.g,
                       EGL_BLUE_SIZE, sizes.b, EGL_ALPHA_SIZE, sizes.a, EGL_DEPTH_SIZE, 16, EGL_STENCIL_SIZE,
                       4});
    }

    std::vector<EGLConfig> All() const {
        std::vector<EGLConfig> configs(256);
        EGLint nCount = -1;
        EXPECT_TRUE(eglGetConfigs(m_display, configs.data(), 256, &nCount));
        configs.resize(nCount);
        return configs;
    }
};

TEST_F(PlatformConfig, OnlyThoseOfADisplayWithWindowsAreOffered) {
    static constexpr ColourSizes s_kinds[] = {{5, 6, 5, 0}, {8, 8, 8, 0}, {8, 8, 8, 8}};
    bool kindSeen[3] = {};
    for (EGLConfig config : All()) {
        auto const kind = std::find(std::begin(s_kinds), std::end(s_kinds), Sizes(config));
        ASSERT_NE(kind, std::end(s_kinds)) << Attribute(config, EGL_CONFIG_ID);
        kindSeen[kind - s_kinds] = true;
        EXPECT_TRUE(Attribute(config, EGL_SURFACE_TYPE) & EGL_WINDOW_BIT);
    }
    EXPECT_TRUE(kindSeen[0] && kindSeen[1] && kindSeen[2]);
}

TEST_F(PlatformConfig, FirstForADeviceIsTheSmallestWithTheMostOfTheColoursAskedFor) {
    struct Case {
        ColourSizes wish;
        ColourSizes first;
    } const cases[] = {
        // More bits of what is asked for come first: EGL's own rule, and a well-known surprise.
        {{5, 6, 5, 0}, {8, 8, 8, 0}},
        {{8, 8, 8, 0}, {8, 8, 8, 0}},
        {{8, 8, 8, 8}, {8, 8, 8, 8}},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE(each.wish.g);
        SCOPED_TRACE(each.wish.a);
        std::vector<EGLConfig> const configs = ChooseForDevice(each.wish);
        ASSERT_FALSE(configs.empty());
        EXPECT_TRUE(Sizes(configs[0]) == each.first);
        EXPECT_EQ(Attribute(configs[0], EGL_SAMPLES), 0);
        EXPECT_GE(Attribute(configs[0], EGL_DEPTH_SIZE), 16);
        EXPECT_GE(Attribute(configs[0], EGL_STENCIL_SIZE), 4);
    }
    EXPECT_FALSE(Sizes(ChooseForDevice({5, 6, 5, 0}).back()) == (ColourSizes{8, 8, 8, 0}));
}

TEST_F(PlatformConfig, WishesForSurfaceTypesAreUnderstood) {
    std::size_t const nAll = All().size();
    std::size_t const nForWindows = Choose({EGL_DEPTH_SIZE, 0}).size();
    struct Case {
        char const* name;
        std::vector<EGLint> attributes;
        std::size_t nExpected;
    } const cases[] = {
        {"window", {EGL_SURFACE_TYPE, EGL_WINDOW_BIT}, nForWindows},
        {"pbuffer", {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT}, nForWindows},
        {"both", {EGL_SURFACE_TYPE, EGL_WINDOW_BIT | EGL_PBUFFER_BIT}, nForWindows},
        {"whatever", {EGL_SURFACE_TYPE, EGL_DONT_CARE}, nForWindows},
        {"pixmap", {EGL_SURFACE_TYPE, EGL_PIXMAP_BIT | EGL_WINDOW_BIT}, 0},
        {"one of its id", {EGL_CONFIG_ID, Attribute(Config(), EGL_CONFIG_ID)}, 1},
    };
    EXPECT_GE(nAll, nForWindows);
    for (Case const& each : cases)
        EXPECT_EQ(Choose(each.attributes).size(), each.nExpected) << each.name;
}

TEST_F(PlatformConfig, ListsAreAnsweredAsFarAsTheyFit) {
    EGLConfig configs[3] = {this, this, this};
    EGLint const empty[] = {EGL_NONE};
    EGLint nAll = -1;
    EGLint nCount = -1;
    ASSERT_TRUE(eglChooseConfig(m_display, nullptr, nullptr, 0, &nAll));
    ASSERT_GT(nAll, 2);
    EXPECT_TRUE(eglChooseConfig(m_display, empty, nullptr, 100, &nCount));
    EXPECT_EQ(nCount, nAll);
    EXPECT_TRUE(eglChooseConfig(m_display, empty, configs, 0, &nCount));
    EXPECT_EQ(nCount, 0);
    EXPECT_EQ(configs[0], this);
    EXPECT_TRUE(eglChooseConfig(m_display, empty, configs, 2, &nCount));
    EXPECT_EQ(nCount, 2);
    EXPECT_NE(configs[0], configs[1]);
    EXPECT_EQ(configs[2], this);
    ASSERT_TRUE(eglGetConfigs(m_display, nullptr, 0, &nAll));
    EXPECT_EQ(std::size_t(nAll), All().size());
    EXPECT_TRUE(eglGetConfigs(m_display, configs, 1, &nCount));
    EXPECT_EQ(nCount, 1);
}

TEST_F(PlatformConfig, BadArgumentsAreReportedAsEglSays) {
    EGLint const unknown[] = {0x7777, 1, EGL_NONE};
    EGLint nCount = -1;
    EXPECT_FALSE(eglChooseConfig(m_display, unknown, nullptr, 0, &nCount));
    EXPECT_EQ(eglGetError(), EGL_BAD_ATTRIBUTE);
    EXPECT_FALSE(eglChooseConfig(m_display, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    EXPECT_FALSE(eglGetConfigs(m_display, nullptr, 0, nullptr));
    EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    EXPECT_FALSE(eglGetConfigAttrib(m_display, Config(), 0x7777, &nCount));
    EXPECT_EQ(eglGetError(), EGL_BAD_ATTRIBUTE);
    EXPECT_EQ(nCount, -1);
}

} // namespace
} // namespace kelvo::test
