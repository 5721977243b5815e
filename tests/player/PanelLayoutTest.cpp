// Panels in a window: none covers another one, and what they are about stays visible where it can.

#include "window/PanelLayout.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using trevik::RectangleT;
using trevik::SizeT;
using trevik::Vector2T;

using Box = std::optional<RectangleT<int>>;

TEST(PanelLayout, FindsRoomForWhatMattersMostFirst) {
    std::vector<PanelPlace> const corners{PanelPlace::UpperLeft, PanelPlace::UpperRight,
                                          PanelPlace::LowerLeft, PanelPlace::LowerRight};
    PanelLayout layout(RectangleT<int>(10, 20, 110, 100));
    EXPECT_EQ(layout.Place({20, 10}, {PanelPlace::Middle}), Box({50, 55, 70, 65}));
    EXPECT_EQ(layout.Place({40, 40}, {PanelPlace::Middle}), std::nullopt) << "there is one already";
    EXPECT_EQ(layout.Place({40, 30}, corners), Box({10, 20, 50, 50}));
    EXPECT_EQ(layout.Place({40, 30}, corners), Box({70, 20, 110, 50})) << "the next place";
    EXPECT_EQ(layout.Place({96, 30}, corners), Box({10, 70, 106, 100}));
    EXPECT_EQ(layout.Place({1, 1}, corners), std::nullopt);
}

TEST(PanelLayout, CoversWhatIsToBeSeenOnlyForWantOfAnotherPlace) {
    std::vector<PanelPlace> const places{PanelPlace::UpperRight, PanelPlace::LowerRight};
    for (Vector2T<int> const point : {Vector2T<int>(60, 0), Vector2T<int>(99, 29)}) {
        PanelLayout layout(RectangleT<int>(0, 0, 100, 80));
        layout.KeepVisible(point);
        EXPECT_EQ(layout.Place({40, 30}, places), Box({60, 50, 100, 80}));
        EXPECT_EQ(layout.Place({30, 30}, places), Box({70, 0, 100, 30}));
    }
    PanelLayout beside(RectangleT<int>(0, 0, 100, 80));
    beside.KeepVisible({59, 30});
    EXPECT_EQ(beside.Place({40, 30}, places), Box({60, 0, 100, 30}));
}

TEST(PanelLayout, BeginsAtTheUpperLeftWithWhatIsTooLarge) {
    for (PanelPlace const place : {PanelPlace::UpperLeft, PanelPlace::UpperRight, PanelPlace::LowerLeft,
                                   PanelPlace::LowerRight, PanelPlace::Middle}) {
        PanelLayout layout(RectangleT<int>(5, 6, 20, 20));
        EXPECT_EQ(layout.Place({30, 40}, {place}), Box({5, 6, 35, 46}));
    }
}

} // namespace
} // namespace kelvokit::player::testing
