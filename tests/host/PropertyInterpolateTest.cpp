#include <gtest/gtest.h>

#include <cmath>

#include "trevik/kelvo/Interpolate.h"

namespace trevik::kelvo {
namespace {

TEST(PropertyInterpolate, EveryFunctionRunsFromZeroToOneWithoutJumps) {
    unsigned int nFunctions = 0;
    for (; Interpolate::GetName(nFunctions); ++nFunctions) {
        char const* const pName = Interpolate::GetName(nFunctions);
        Interpolate::Function const pfn = Interpolate::Find(pName);
        ASSERT_TRUE(pfn) << pName;
        EXPECT_STREQ(Interpolate::GetName(pfn), pName);
        for (RealFloat before : {-INFINITY, -3.0f, 0.0f, NAN}) {
            EXPECT_EQ(pfn(before), 0) << pName << " at " << before;
        }
        for (RealFloat after : {1.0f, 1.5f, INFINITY}) {
            EXPECT_EQ(pfn(after), 1) << pName << " at " << after;
        }
        if (pfn == Interpolate::Step) {
            EXPECT_EQ(pfn(0.999f), 0);
            continue;
        }
        // The steepest one, the elastic, climbs by less than 25 per unit of time.
        RealFloat previous = 0;
        for (int nStep = 1; nStep <= 1000; ++nStep) {
            RealFloat const value = pfn(static_cast<RealFloat>(nStep) / 1000);
            EXPECT_NEAR(value, previous, 0.025f) << pName << " at " << nStep;
            previous = value;
        }
    }
    EXPECT_EQ(nFunctions, 12u);
}

TEST(PropertyInterpolate, ShapesAreAsNamed) {
    struct {
        char const* m_pName;
        RealFloat m_time;
        RealFloat m_value;
    } const cases[] = {
        {"linear", 0.3f, 0.3f},
        {"easeIn", 0.5f, 0.25f},
        {"easeOut", 0.5f, 0.75f},
        {"easeInOut", 0.25f, 0.15625f},
        {"cubicIn", 0.5f, 0.125f},
        {"cubicOut", 0.5f, 0.875f},
        {"cubicInOut", 0.25f, 0.0625f},
        {"cubicInOut", 0.75f, 0.9375f},
        {"sineInOut", 0.5f, 0.5f},
        {"sineInOut", 0.25f, 0.146447f},
        {"bounceOut", 1 / 2.75f, 1},
        {"bounceOut", 1.5f / 2.75f, 0.75f},
        {"bounceOut", 2.25f / 2.75f, 0.9375f},
        {"bounceOut", 2.625f / 2.75f, 0.984375f},
        {"backOut", 0.579866f, 1.1f},
        {"elasticOut", 0.075f, 1},
    };
    for (auto const& point : cases) {
        EXPECT_NEAR(Interpolate::Find(point.m_pName)(point.m_time), point.m_value, 1e-4f)
            << point.m_pName << " at " << point.m_time;
    }
    EXPECT_EQ(Interpolate::Find("sideways"), nullptr);
    EXPECT_EQ(Interpolate::Find(nullptr), nullptr);
    EXPECT_EQ(Interpolate::GetName([](RealFloat const& t) { return t; }), nullptr);
}

} // namespace
} // namespace trevik::kelvo
