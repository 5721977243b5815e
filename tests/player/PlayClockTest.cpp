// Which frame a window shows when, told with times in place of a clock.

#include "window/PlayClock.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using Time = PlayClock::Time;

Time At(double rMilliseconds) {
    return Time(static_cast<Time::rep>(rMilliseconds * 1e6));
}

struct Step {
    double rTime;                              ///< milliseconds
    std::function<void(PlayClock&, Time)> act; ///< before the time passes; null for nothing
    int nFrame;                                ///< then
    unsigned long nLate;
    double rNextTime; ///< milliseconds; -1 for never
    bool fEnded = false;
};

void Check(PlayClock::AtEnd atEnd, FrameRange const& frames, std::vector<Step> const& steps) {
    PlayClock clock(frames, 10, atEnd, At(1000));
    for (Step const& step : steps) {
        SCOPED_TRACE(step.rTime);
        if (step.act) {
            step.act(clock, At(step.rTime));
        }
        clock.Advance(At(step.rTime));
        EXPECT_EQ(clock.GetFrame(), step.nFrame);
        EXPECT_EQ(clock.GetLateFrames(), step.nLate);
        EXPECT_EQ(clock.GetNextTime(), step.rNextTime < 0 ? Time::max() : At(step.rNextTime));
        EXPECT_EQ(clock.HasEnded(), step.fEnded);
    }
}

auto const Pause = [](PlayClock& clock, Time now) { clock.SetPaused(!clock.IsPaused(), now); };
auto const Back = [](PlayClock& clock, Time now) { clock.Step(-1, now); };
auto const On = [](PlayClock& clock, Time now) { clock.Step(1, now); };
auto const Seek = [](int nFrame) {
    return [nFrame](PlayClock& clock, Time now) { clock.Seek(nFrame, now); };
};
auto const Speed = [](int nDoublings) {
    return [nDoublings](PlayClock& clock, Time now) { clock.ChangeSpeed(nDoublings, now); };
};

TEST(PlayClock, ShowsEachFrameForItsTimeSkipsAndCountsWhatIsLateAndLoops) {
    Check(PlayClock::AtEnd::Loop, {5, 8},
          {{1000, nullptr, 5, 0, 1100},
           {1099.9, nullptr, 5, 0, 1100},
           {1100, nullptr, 6, 0, 1200},
           {1399, nullptr, 8, 1, 1400},
           {1400, nullptr, 5, 1, 1500},
           {2650, nullptr, 5, 12, 2700}});
}

TEST(PlayClock, StopsBehindTheLastFrameWhichHasItsTime) {
    Check(PlayClock::AtEnd::Stop, {0, 2},
          {{1200, nullptr, 2, 1, 1300},
           {1299, nullptr, 2, 1, 1300},
           {1900, nullptr, 2, 1, -1, true},
           {2000, On, 2, 1, -1},
           {2000, Back, 1, 1, -1},
           {2000, Pause, 1, 1, 2100},
           {2200, nullptr, 2, 1, -1, true},
           {2300, Pause, 2, 1, -1}});
}

TEST(PlayClock, PausesStepsSeeksAndChangesItsSpeedFromWhereItIs) {
    Check(PlayClock::AtEnd::Loop, {0, 9},
          {{1150, Pause, 0, 0, -1}, // before the frame of 1100 was ever asked for
           {5000, nullptr, 0, 0, -1},
           {5000, Back, 9, 0, -1},
           {5000, On, 0, 0, -1},
           {6000, On, 1, 0, -1},
           {7000, Pause, 1, 0, 7100},
           {7150, nullptr, 2, 0, 7200},
           {7150, Speed(1), 2, 0, 7200},
           {7250, nullptr, 4, 1, 7300},
           {7250, Speed(-2), 4, 1, 7450},
           {7450, nullptr, 5, 1, 7650},
           {7500, Speed(-99), 5, 1, 9100},
           {7500, Speed(4), 5, 1, 7600},
           {7600, Seek(-3), 0, 1, 7700},
           {7600, Seek(77), 9, 1, 7700}});
}

TEST(PlayClock, KeepsItsFrameAsFarAsAnotherSceneHasIt) {
    auto const frames = [](FrameRange const& range, double rRate) {
        return [=](PlayClock& clock, Time now) { clock.SetFrames(range, rRate, now); };
    };
    Check(PlayClock::AtEnd::Loop, {0, 9},
          {{1700, nullptr, 7, 6, 1800},
           {1750, frames({0, 100}, 20), 7, 6, 1800},
           {1750, frames({0, 4}, 10), 4, 6, 1850},
           {1750, frames({6, 6}, 10), 6, 6, -1},
           {9000, nullptr, 6, 6, -1}});
}

} // namespace
} // namespace kelvokit::player::testing
