#include "kelvo_test/Diagnostics.h"
#include "kelvo_test/Threads.h"
#include "trevik/Assert.h"
#include "trevik/Debug.h"
#include "trevik/ScopeCounter.h"
#include "trevik/Statistics.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace trevik;

namespace {

TEST(TrevikAssert, TellsTheHandlerFileLineAndExpression) {
    std::string told;
    AssertHandler const before = SetAssertHandler(
        [](void* user, char const* file, unsigned int line, char const* expression) {
            *static_cast<std::string*>(user) +=
                std::string(file) + ":" + std::to_string(line) + ":" + expression;
        },
        &told);
    TREVIK_ASSERT_AT(1 + 1 == 2, "src/TextureGL2", 12, "1 + 1 == 2");
    EXPECT_EQ(told, "");
    TREVIK_ASSERT_AT(1 + 1 == 3, "src/TextureGL2", 12, "1 + 1 == 3");
    EXPECT_EQ(told, "src/TextureGL2:12:1 + 1 == 3");
    AssertHandler const mine = SetAssertHandler(before);
    EXPECT_EQ(mine.pUser, &told);
}

TEST(TrevikAssert, SaysOneLineByItselfAndReturns) {
    AssertHandler const before = SetAssertHandler(nullptr);
    testing::internal::CaptureStderr();
    AssertFail("src/Some", 7, "!IsLocked()");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "src/Some:7: assertion failed: !IsLocked()\n");
    SetAssertHandler(before);
}

/** Collects what is traced, from every level on. */
class TrevikTrace : public testing::Test {
protected:
    ::kelvo::test::Diagnostics m_log{TraceLevel::Debug};
};

TEST_F(TrevikTrace, ReachesTheSinkFromTheMinimumLevelOn) {
    Debug::Trace(TraceLevel::Debug, u"one");
    EXPECT_EQ(Debug::SetMinimumLevel(TraceLevel::Error), TraceLevel::Debug);
    Debug::Trace(TraceLevel::Info, u"two");
    Debug::TraceFormat(TraceLevel::Info, u"%s", u"three");
    Debug::TraceFormat(TraceLevel::Error, u"err=0x%4x.", 0x3000);
    EXPECT_FALSE(Debug::IsEnabled(TraceLevel::Info));
    EXPECT_TRUE(Debug::IsEnabled(TraceLevel::Error));
    EXPECT_EQ(m_log.Messages(), (std::vector<std::string>{"one", "err=0x3000."}));
    EXPECT_EQ(m_log.Levels(), (std::vector<TraceLevel::Enum>{TraceLevel::Debug, TraceLevel::Error}));
}

TEST_F(TrevikTrace, ASinkMayTraceInTurn) {
    std::vector<std::string> lines;
    Debug::SetSink(
        [](void* user, TraceLevel::Enum level, String16 const& message) {
            auto& seen = *static_cast<std::vector<std::string>*>(user);
            seen.push_back(String8(message).GetData());
            if (seen.size() < 3) {
                Debug::Trace(level, message + u"+");
            }
        },
        &lines);
    Debug::Trace(TraceLevel::Error, u"x");
    EXPECT_EQ(lines, (std::vector<std::string>{"x", "x+", "x++"}));
}

TEST_F(TrevikTrace, LinesOfSeveralThreadsArriveWhole) {
    ::kelvo::test::RunOnThreads(4, [](int) {
        for (int line = 0; line < 50; ++line) {
            Debug::TraceFormat(TraceLevel::Error, u"%d of %hs", 50, "each");
        }
    });
    EXPECT_EQ(m_log.Messages(), std::vector<std::string>(200, "50 of each"));
}

TEST_F(TrevikTrace, GoesToStderrInUtf8ByItself) {
    Debug::SetSink(nullptr);
    testing::internal::CaptureStderr();
    Debug::Trace(TraceLevel::Error, u"[kelvo] 5 \x20ac, 100%");
    Debug::Trace(TraceLevel::Error, u"with its own end\n");
    Debug::Trace(TraceLevel::Error, u"");
    Debug::Trace(TraceLevel::Error, u"\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[kelvo] 5 \xe2\x82\xac, 100%\nwith its own end\n\n\n");
}

TEST(TrevikStatistics, CountsUpAndDownForEachId) {
    Statistics& statistics = Statistics::Instance();
    long long const before = statistics.GetStat(37), other = statistics.GetStat(36);
    statistics.IncrementStat(37, 5000000000LL);
    statistics.DecrementStat(37, 1);
    EXPECT_EQ(statistics.GetStat(37) - before, 4999999999LL);
    EXPECT_EQ(statistics.GetStat(36), other);
    statistics.DecrementStat(37, 4999999999LL);
    statistics.IncrementStat(Statistics::MaximumStats, 1);
    EXPECT_EQ(statistics.GetStat(Statistics::MaximumStats), 0);
    EXPECT_STREQ(Statistics::GetStatName(37), "texture memory");
    EXPECT_EQ(Statistics::GetStatName(0), nullptr);
}

TEST(TrevikStatistics, EventsReachTheListener) {
    Statistics& statistics = Statistics::Instance();
    std::vector<std::string> events;
    StatisticsListener const before = statistics.SetListener(
        [](void* user, String16 const& event) {
            static_cast<std::vector<std::string>*>(user)->push_back(String8(event).GetData());
        },
        &events);
    EXPECT_TRUE(statistics.HasListener());
    statistics.FireEvent(u"Create Texture: 4x2(32)");
    statistics.SetListener(nullptr);
    EXPECT_FALSE(statistics.HasListener());
    statistics.FireEvent(u"unheard");
    statistics.SetListener(before);
    EXPECT_EQ(events, std::vector<std::string>{"Create Texture: 4x2(32)"});
}

class TrevikScopeCounter : public testing::Test {
protected:
    TrevikScopeCounter() { ScopeCounter::ResetFigures(); }
    ~TrevikScopeCounter() override {
        ScopeCounter::SetProfiling(false);
        ScopeCounter::ResetFigures();
    }

    static void Spend(unsigned int id, bool enabled = true) { ScopeCounter const counter(id, enabled); }
};

TEST_F(TrevikScopeCounter, CountsOnlyWhileProfiling) {
    Spend(4);
    EXPECT_EQ(ScopeCounter::GetTotals(4).nCalls, 0u);
    ScopeCounter::SetProfiling(true);
    Spend(4);
    Spend(4);
    Spend(5);
    Spend(6, false);
    Spend(ScopeCounter::MaximumIds);
    ScopeCounter::SetProfiling(false);
    Spend(4);
    EXPECT_EQ(ScopeCounter::GetTotals(4).nCalls, 2u);
    EXPECT_EQ(ScopeCounter::GetTotals(5).nCalls, 1u);
    EXPECT_EQ(ScopeCounter::GetTotals(6).nCalls, 0u);
    EXPECT_EQ(ScopeCounter::GetTotals(ScopeCounter::MaximumIds).nCalls, 0u);
    ScopeCounter::ResetFigures();
    EXPECT_EQ(ScopeCounter::GetTotals(4).nCalls, 0u);
}

TEST_F(TrevikScopeCounter, AScopeCountsAsItWasEntered) {
    ScopeCounter::SetProfiling(true);
    {
        ScopeCounter const counted(4, true);
        ScopeCounter::SetProfiling(false);
        ScopeCounter const uncounted(5, true);
        ScopeCounter::SetProfiling(true);
    }
    EXPECT_EQ(ScopeCounter::GetTotals(4).nCalls, 1u);
    EXPECT_EQ(ScopeCounter::GetTotals(5).nCalls, 0u);
}

TEST_F(TrevikScopeCounter, FramesRecordWhatWasSpentSinceTheLastMark) {
    EXPECT_EQ(ScopeCounter::GetFrameTimes(4).nFrames, 0u);
    ScopeCounter::MarkFrame(); // not profiling
    EXPECT_EQ(ScopeCounter::GetFrameTimes(4).nFrames, 0u);
    ScopeCounter::SetProfiling(true);
    Spend(4);
    ScopeCounter::MarkFrame();
    unsigned long long const spent = ScopeCounter::GetTotals(4).nNanoseconds;
    for (int i = 0; i < 9; ++i) {
        ScopeCounter::MarkFrame(); // frames without this scope
    }
    ScopeFrameTimes const times = ScopeCounter::GetFrameTimes(4);
    EXPECT_EQ(times.nFrames, 10u);
    EXPECT_EQ(times.nMedian, 0u);
    EXPECT_EQ(times.nPercentile95, spent); // the tenth of ten frames
    EXPECT_EQ(times.nMaximum, spent);
    EXPECT_EQ(ScopeCounter::GetTotals(ScopeCounter::Frame).nCalls, 10u);
    EXPECT_GE(ScopeCounter::GetFrameTimes(ScopeCounter::Frame).nMaximum, spent);
    EXPECT_EQ(ScopeCounter::GetFrameTimes(ScopeCounter::MaximumIds).nFrames, 0u);
}

TEST_F(TrevikScopeCounter, KeepsTheLatestFrames) {
    ScopeCounter::SetProfiling(true);
    Spend(4);
    ScopeCounter::MarkFrame();
    for (unsigned int i = 0; i < ScopeCounter::MaximumFrames; ++i) {
        ScopeCounter::MarkFrame();
    }
    ScopeFrameTimes const times = ScopeCounter::GetFrameTimes(4);
    EXPECT_EQ(times.nFrames, static_cast<unsigned int>(ScopeCounter::MaximumFrames));
    EXPECT_EQ(times.nMaximum, 0u) << "the first frame has left the record";
}

TEST_F(TrevikScopeCounter, NamesTheIdsThatTheBackEndUses) {
    for (unsigned int id : {4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 23, 24}) {
        EXPECT_NE(ScopeCounter::GetName(id), nullptr) << id;
    }
    EXPECT_STREQ(ScopeCounter::GetName(4), "sprite render");
    EXPECT_EQ(ScopeCounter::GetName(14), nullptr);
}

TEST_F(TrevikScopeCounter, ThreadsCountTogether) {
    ScopeCounter::SetProfiling(true);
    Statistics& statistics = Statistics::Instance();
    long long const before = statistics.GetStat(63);
    ::kelvo::test::RunOnThreads(4, [&](int) {
        for (int round = 0; round < 500; ++round) {
            Spend(24);
            statistics.IncrementStat(63, 3);
            statistics.DecrementStat(63, 1);
        }
    });
    EXPECT_EQ(ScopeCounter::GetTotals(24).nCalls, 2000u);
    EXPECT_EQ(statistics.GetStat(63) - before, 4000);
}

} // namespace
