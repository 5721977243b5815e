#include "EglProgram.h"

#include <algorithm>

namespace kelvokit::test {
namespace {

class PlatformConfig : public EglProgram {
protected:
    std::vector<EGLConfig> Choose(std::vector<EGLint> attributes) const {
        attributes.push_back(EGL_NONE);
        std::vector<EGLConfig> configs(256);
        EGLint nCount = -1;
        EXPECT_EQ(ErrorOf(eglChooseConfig(m_display, attributes.data(), configs.data(), 256, &nCount)),
                  EGL_SUCCESS);
        configs.resize(std::size_t(nCount));
        return configs;
    }
};

TEST_F(PlatformConfig, OnlyThoseOfADisplayWithWindowsAreOffered) {
    static constexpr ColourSizes s_kinds[] = {{5, 6, 5, 0}, {8, 8, 8, 0}, {8, 8, 8, 8}};
    bool kindSeen[3] = {};
    std::vector<EGLConfig> configs(256);
    EGLint nCount = -1;
    ASSERT_TRUE(eglGetConfigs(m_display, configs.data(), 256, &nCount));
    configs.resize(std::size_t(nCount));
    for (EGLConfig config : configs) {
        auto const kind = std::find(std::begin(s_kinds), std::end(s_kinds), Sizes(config));
        ASSERT_NE(kind, std::end(s_kinds)) << Attribute(config, EGL_CONFIG_ID);
        kindSeen[kind - s_kinds] = true;
        EXPECT_TRUE(Attribute(config, EGL_SURFACE_TYPE) & EGL_WINDOW_BIT);
    }
    EXPECT_TRUE(kindSeen[0] && kindSeen[1] && kindSeen[2]);

    // The first one for a device. More bits of what is asked for come first: EGL's own rule, and a well-known
    // surprise.
    for (ColourSizes const& wish : s_kinds) {
        SCOPED_TRACE(wish.g);
        SCOPED_TRACE(wish.a);
        configs =
            Choose({EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_BUFFER_SIZE,
                    wish.r + wish.g + wish.b + wish.a, EGL_RED_SIZE, wish.r, EGL_GREEN_SIZE, wish.g,
                    EGL_BLUE_SIZE, wish.b, EGL_ALPHA_SIZE, wish.a, EGL_DEPTH_SIZE, 16, EGL_STENCIL_SIZE, 4});
        ASSERT_FALSE(configs.empty());
        EXPECT_TRUE(Sizes(configs[0]) == (ColourSizes{8, 8, 8, wish.a}));
        EXPECT_FALSE(wish.g == 6 && Sizes(configs.back()) == (ColourSizes{8, 8, 8, 0}));
        EXPECT_EQ(Attribute(configs[0], EGL_SAMPLES), 0);
        EXPECT_GE(Attribute(configs[0], EGL_DEPTH_SIZE), 16);
        EXPECT_GE(Attribute(configs[0], EGL_STENCIL_SIZE), 4);
    }
}

TEST_F(PlatformConfig, WishesForSurfaceTypesAreUnderstood) {
    std::size_t const nForWindows = Choose({EGL_DEPTH_SIZE, 0}).size();
    struct {
        std::vector<EGLint> attributes;
        std::size_t nExpected;
    } const cases[] = {
        {{EGL_SURFACE_TYPE, EGL_WINDOW_BIT}, nForWindows},
        {{EGL_SURFACE_TYPE, EGL_PBUFFER_BIT}, nForWindows},
        {{EGL_SURFACE_TYPE, EGL_WINDOW_BIT | EGL_PBUFFER_BIT}, nForWindows},
        {{EGL_SURFACE_TYPE, EGL_DONT_CARE}, nForWindows},
        {{EGL_SURFACE_TYPE, EGL_PIXMAP_BIT | EGL_WINDOW_BIT}, 0},
        {{EGL_CONFIG_ID, Attribute(Config(), EGL_CONFIG_ID)}, 1},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(Choose(test.attributes).size(), test.nExpected) << test.attributes[1];
    }
}

TEST_F(PlatformConfig, ListsAreAnsweredAsFarAsTheyFitAndBadArgumentsAsEglSays) {
    EGLConfig configs[3] = {this, this, this};
    EGLint const empty[] = {EGL_NONE};
    EGLint const unknown[] = {0x7777, 1, EGL_NONE};
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
    EXPECT_TRUE(eglGetConfigs(m_display, configs, 1, &nCount));
    EXPECT_EQ(nCount, 1);
    EXPECT_EQ(ErrorOf(eglChooseConfig(m_display, unknown, nullptr, 0, &nCount)), EGL_BAD_ATTRIBUTE);
    EXPECT_EQ(ErrorOf(eglChooseConfig(m_display, nullptr, nullptr, 0, nullptr)), EGL_BAD_PARAMETER);
    EXPECT_EQ(ErrorOf(eglGetConfigs(m_display, nullptr, 0, nullptr)), EGL_BAD_PARAMETER);
    EXPECT_EQ(ErrorOf(eglGetConfigAttrib(m_display, Config(), 0x7777, &nCount)), EGL_BAD_ATTRIBUTE);
    EXPECT_EQ(nCount, 1);
    // An error of the layer's own that nobody asked for is gone with the driver's next success.
    desktop::OffscreenWindow none(0, 0);
    EXPECT_EQ(Surface(Config(), &none), EGL_NO_SURFACE);
    EXPECT_EQ(ErrorOf(eglChooseConfig(m_display, nullptr, nullptr, 0, &nCount)), EGL_SUCCESS);
    EXPECT_EQ(Surface(Config(), &none), EGL_NO_SURFACE);
    EXPECT_EQ(ErrorOf(eglWaitClient()), EGL_SUCCESS);
}

} // namespace
} // namespace kelvokit::test
