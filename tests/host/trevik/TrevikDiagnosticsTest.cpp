#include "kelvo_host/ScopeObserver.h"
#include "kelvo_test/Diagnostics.h"
#include "kelvo_test/Threads.h"
#include "trevik/ScopeCounter.h"
#include "trevik/Statistics.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace trevik;

namespace {

typedef std::vector<std::string> Lines;

/** Collects what is traced, from every level on, and asserted. */
class TrevikTrace : public testing::Test {
protected:
    /** What goes to stderr where nobody collects it. */
    template <class Action>
    static std::string Printed(Action const& action) {
        Debug::SetSink(nullptr);
        SetAssertHandler(nullptr);
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    kelvokit::test::Diagnostics m_log{TraceLevel::Debug};
};

TEST_F(TrevikTrace, AssertionsTellFileLineAndExpression) {
    TREVIK_ASSERT_AT(1 + 1 == 2, "src/TextureGL2", 12, "1 + 1 == 2");
    TREVIK_ASSERT_AT(1 + 1 == 3, "src/TextureGL2", 12, "1 + 1 == 3");
    EXPECT_EQ(m_log.Failures(), Lines{"src/TextureGL2:12: 1 + 1 == 3"});
    EXPECT_EQ(Printed([] { AssertFail("src/Some", 7, "!IsLocked()"); }),
              "src/Some:7: assertion failed: !IsLocked()\n");
}

TEST_F(TrevikTrace, ReachesTheSinkFromTheMinimumLevelOn) {
    Debug::Trace(TraceLevel::Debug, u"one");
    EXPECT_EQ(Debug::SetMinimumLevel(TraceLevel::Error), TraceLevel::Debug);
    Debug::Trace(TraceLevel::Info, u"two");
    Debug::TraceFormat(TraceLevel::Info, u"%s", u"three");
    Debug::TraceFormat(TraceLevel::Error, u"err=0x%4x.", 0x3000);
    EXPECT_FALSE(Debug::IsEnabled(TraceLevel::Info));
    EXPECT_TRUE(Debug::IsEnabled(TraceLevel::Error));
    EXPECT_EQ(m_log.Messages(), (Lines{"one", "err=0x3000."}));
    EXPECT_EQ(m_log.Levels(), (std::vector<TraceLevel::Enum>{TraceLevel::Debug, TraceLevel::Error}));
    EXPECT_EQ(Printed([] {
                  for (char16_t const* line : {u"5 \x20ac, 100%", u"with its own end\n", u"", u"\n"}) {
                      Debug::Trace(TraceLevel::Error, line);
                  }
              }),
              "5 \xe2\x82\xac, 100%\nwith its own end\n\n\n");
}

TEST_F(TrevikTrace, LinesOfSeveralThreadsArriveWhole) {
    kelvokit::test::RunOnThreads(4, [](int) {
        for (int line = 0; line < 50; ++line) {
            Debug::TraceFormat(TraceLevel::Error, u"%d of %hs", 50, "each");
        }
    });
    EXPECT_EQ(m_log.Messages(), Lines(200, "50 of each"));
}

TEST(TrevikStatistics, EventsReachTheListener) {
    Statistics& statistics = Statistics::Instance();
    Lines events;
    StatisticsListener const before = statistics.SetListener(
        [](void* user, String16 const& event) {
            static_cast<Lines*>(user)->push_back(String8(event).GetData());
        },
        &events);
    EXPECT_TRUE(statistics.HasListener());
    statistics.FireEvent(u"Create Texture: 4x2(32)");
    EXPECT_EQ(statistics.SetListener(nullptr).pUser, &events);
    EXPECT_FALSE(statistics.HasListener());
    statistics.FireEvent(u"unheard");
    statistics.SetListener(before);
    EXPECT_EQ(events, Lines{"Create Texture: 4x2(32)"});
}

class TrevikScopeCounter : public testing::Test {
protected:
    TrevikScopeCounter() {
        ScopeCounter::ResetFigures();
        ScopeCounter::SetProfiling(true);
    }
    ~TrevikScopeCounter() override {
        ScopeCounter::SetProfiling(false);
        ScopeCounter::ResetFigures();
    }

    /** Spends some time in a scope. */
    static void Spend(unsigned int id, bool enabled = true) {
        ScopeCounter const counter(id, enabled);
        auto const start = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() == start) {}
    }
    static unsigned long long Calls(unsigned int id) { return ScopeCounter::GetTotals(id).nCalls; }
};

TEST_F(TrevikScopeCounter, AScopeCountsAsItWasEntered) {
    Spend(4);
    Spend(6, false);
    Spend(ScopeCounter::MaximumIds);
    {
        ScopeCounter const counted(4, true);
        ScopeCounter::SetProfiling(false);
        ScopeCounter const uncounted(5, true);
        ScopeCounter::SetProfiling(true);
    }
    EXPECT_EQ(Calls(4), 2u);
    EXPECT_EQ(Calls(5) + Calls(6) + Calls(ScopeCounter::MaximumIds), 0u);
    ScopeCounter::ResetFigures();
    EXPECT_EQ(Calls(4), 0u);
}

TEST_F(TrevikScopeCounter, AnObserverIsToldOfEachScopeInTheOrderOfTheirEnds) {
    struct Watched : ScopeObserver {
        std::string m_ids;
        unsigned long long m_nLast = 0;
        void EndScope(unsigned int id, unsigned long long start, unsigned long long end) override {
            m_ids += std::to_string(id) + " ";
            EXPECT_LE(start, end);
            EXPECT_LE(m_nLast, end);
            m_nLast = end;
        }
    } watched;
    ScopeObserver* const pBefore = ScopeObserver::Set(&watched);
    {
        ScopeCounter const outer(4, true);
        Spend(5);
        Spend(6, false);
        Spend(ScopeCounter::MaximumIds);
    }
    EXPECT_EQ(ScopeObserver::Set(pBefore), &watched);
    Spend(4);
    EXPECT_EQ(watched.m_ids, "5 4 ");
}

TEST_F(TrevikScopeCounter, FramesRecordWhatWasSpentSinceTheLastMark) {
    ScopeFrameTimes const none = ScopeCounter::GetFrameTimes(0);
    EXPECT_EQ(none.nFrames + none.nMedian + none.nPercentile95 + none.nPercentile99 + none.nMaximum, 0u);
    struct {
        unsigned int frames, spent;
        bool median, percentile95, percentile99; // whether it is one of those in which time was spent
    } const cases[] = {
        {40, 2, false, false, true},
        {40, 3, false, true, true},
        {40, 20, false, true, true},
        {40, 21, true, true, true},
        {100, 1, false, false, false},
        {100, 2, false, false, true},
        {ScopeCounter::MaximumFrames, 11, false, false, true},
    };
    for (auto const& test : cases) {
        auto const start = std::chrono::steady_clock::now();
        ScopeCounter::ResetFigures();
        for (unsigned int n = 0; n < test.frames; ++n) {
            n < test.spent ? Spend(0) : void();
            ScopeCounter::MarkFrame();
        }
        ScopeFrameTimes const times = ScopeCounter::GetFrameTimes(0);
        EXPECT_EQ(times.nFrames, test.frames);
        EXPECT_EQ(times.nMedian > 0, test.median) << test.frames << ", " << test.spent;
        EXPECT_EQ(times.nPercentile95 > 0, test.percentile95) << test.frames << ", " << test.spent;
        EXPECT_EQ(times.nPercentile99 > 0, test.percentile99) << test.frames << ", " << test.spent;
        EXPECT_GT(times.nMaximum, 0u);
        EXPECT_LE(times.nMaximum, ScopeCounter::GetTotals(0).nNanoseconds);
        ScopeTotals const frames = ScopeCounter::GetTotals(ScopeCounter::Frame);
        EXPECT_EQ(frames.nCalls, test.frames);
        EXPECT_GE(frames.nNanoseconds, ScopeCounter::GetTotals(0).nNanoseconds);
        EXPECT_LE(std::chrono::nanoseconds(frames.nNanoseconds), std::chrono::steady_clock::now() - start);
    }
    // The latest frames are kept.
    ScopeCounter::MarkFrame();
    EXPECT_EQ(ScopeCounter::GetFrameTimes(0).nPercentile99, 0u);
    // What was spent before profiling is switched on belongs to no frame, and none is marked without.
    ScopeCounter::ResetFigures();
    Spend(0);
    ScopeCounter::SetProfiling(true);
    ScopeCounter::MarkFrame();
    EXPECT_GT(ScopeCounter::GetFrameTimes(0).nMaximum, 0u);
    ScopeCounter::ResetFigures();
    Spend(0);
    ScopeCounter::SetProfiling(false);
    ScopeCounter::MarkFrame();
    ScopeCounter::SetProfiling(true);
    ScopeCounter::MarkFrame();
    EXPECT_EQ(ScopeCounter::GetFrameTimes(0).nFrames, 1u);
    EXPECT_EQ(ScopeCounter::GetFrameTimes(0).nMaximum, 0u);
    EXPECT_EQ(ScopeCounter::GetFrameTimes(ScopeCounter::MaximumIds).nFrames, 0u);
}

TEST_F(TrevikScopeCounter, NamesTheIdsThatTheBackEndUses) {
    for (unsigned int id : {4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 23u, 24u}) {
        EXPECT_NE(ScopeCounter::GetName(id), nullptr) << id;
    }
    EXPECT_STREQ(ScopeCounter::GetName(4), "sprite render");
    EXPECT_EQ(ScopeCounter::GetName(14), nullptr);
}

TEST_F(TrevikScopeCounter, ThreadsCountTogetherAndStatisticsForEachId) {
    Statistics& statistics = Statistics::Instance();
    long long const before = statistics.GetStat(37), other = statistics.GetStat(36);
    kelvokit::test::RunOnThreads(4, [&](int) {
        for (int round = 0; round < 500; ++round) {
            Spend(24);
            statistics.IncrementStat(37, 5000000000LL);
            statistics.DecrementStat(37, 1);
            statistics.IncrementStat(Statistics::MaximumStats, 1);
            statistics.DecrementStat(Statistics::MaximumStats, 2);
        }
    });
    EXPECT_EQ(Calls(24), 2000u);
    EXPECT_EQ(statistics.GetStat(37) - before, 2000 * 4999999999LL);
    statistics.DecrementStat(37, 2000 * 4999999999LL);
    EXPECT_EQ(statistics.GetStat(36), other);
    EXPECT_EQ(statistics.GetStat(Statistics::MaximumStats), 0);
    EXPECT_STREQ(Statistics::GetStatName(37), "texture memory");
    EXPECT_EQ(Statistics::GetStatName(0), nullptr);
}

} // namespace
