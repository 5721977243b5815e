#include "trevik/kelvo/Interpolate.h"

#include <gtest/gtest.h>

#include <cmath>

namespace trevik::kelvo {
namespace {

TEST(PropertyInterpolate, FunctionsRunFromZeroToOneAsTheirNamesSay) {
    RealFloat const times[] = {0.125f, 0.375f, 0.5f, 0.75f, 0.85f, 0.96f};
    struct {
        char const* m_pName;
        RealFloat m_values[6];
    } const cases[] = {
        {"step", {0, 0, 0, 0, 0, 0}},
        {"linear", {0.125f, 0.375f, 0.5f, 0.75f, 0.85f, 0.96f}},
        {"easeIn", {0.01562f, 0.14062f, 0.25f, 0.5625f, 0.7225f, 0.9216f}},
        {"easeOut", {0.23438f, 0.60938f, 0.75f, 0.9375f, 0.9775f, 0.9984f}},
        {"easeInOut", {0.04297f, 0.31641f, 0.5f, 0.84375f, 0.93925f, 0.99533f}},
        {"cubicIn", {0.00195f, 0.05273f, 0.125f, 0.42188f, 0.61412f, 0.88474f}},
        {"cubicOut", {0.33008f, 0.75586f, 0.875f, 0.98438f, 0.99662f, 0.99994f}},
        {"cubicInOut", {0.00781f, 0.21094f, 0.5f, 0.9375f, 0.9865f, 0.99974f}},
        {"sineInOut", {0.03806f, 0.30866f, 0.5f, 0.85355f, 0.9455f, 0.99606f}},
        {"backOut", {0.49292f, 1.00511f, 1.0877f, 1.06414f, 1.02917f, 1.00255f}},
        {"bounceOut", {0.11816f, 0.96973f, 0.76562f, 0.97266f, 0.94516f, 0.9846f}},
        {"elasticOut", {1.36412f, 1, 1.01562f, 1.00552f, 0.99862f, 0.9996f}},
    };
    unsigned int nFunction = 0;
    for (auto const& test : cases) {
        Interpolate::Function const pfn = Interpolate::Find(test.m_pName);
        ASSERT_TRUE(pfn) << test.m_pName;
        EXPECT_STREQ(Interpolate::GetName(nFunction++), test.m_pName);
        EXPECT_STREQ(Interpolate::GetName(pfn), test.m_pName);
        for (RealFloat before : {-INFINITY, -3.0f, 0.0f, NAN}) {
            EXPECT_EQ(pfn(before), 0) << test.m_pName << " at " << before;
        }
        for (RealFloat after : {1.0f, 1.5f, INFINITY}) {
            EXPECT_EQ(pfn(after), 1) << test.m_pName << " at " << after;
        }
        for (std::size_t i = 0; i < std::size(times); ++i) {
            EXPECT_NEAR(pfn(times[i]), test.m_values[i], 1e-5f) << test.m_pName << " at " << times[i];
        }
    }
    EXPECT_EQ(Interpolate::GetName(nFunction), nullptr);
    EXPECT_EQ(Interpolate::Find("sideways"), nullptr);
    EXPECT_EQ(Interpolate::Find(nullptr), nullptr);
    EXPECT_EQ(Interpolate::GetName([](RealFloat const& t) { return t; }), nullptr);
}

} // namespace
} // namespace trevik::kelvo
