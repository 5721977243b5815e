#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/Dispatcher.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <string>

using namespace trevik;

namespace {

unsigned int const LongTime = 60000; // milliseconds: only a failure takes as long

TEST(TrevikMutex, TheHolderMayLockAgainAndGivesItBackAsOften) {
    Mutex mutex;
    auto const othersGetIt = [&mutex] {
        bool got = false;
        std::thread([&] {
            got = mutex.TryLock();
            got ? mutex.Unlock() : void();
        }).join();
        return got;
    };
    ASSERT_TRUE(mutex.Lock());
    {
        ScopedLock const again(mutex);
        EXPECT_TRUE(again.IsLocked());
        EXPECT_TRUE(mutex.TryLock());
        EXPECT_FALSE(othersGetIt());
        mutex.Unlock();
    }
    EXPECT_FALSE(othersGetIt());
    mutex.Unlock();
    EXPECT_TRUE(othersGetIt());
}

TEST(TrevikWaitableEvent, LetsOneThroughOrAllUntilItIsReset) {
    Event automatic(u"automatic", true, false);
    EXPECT_EQ(automatic.GetName(), u"automatic");
    EXPECT_TRUE(automatic.Wait(0));
    EXPECT_FALSE(automatic.Wait(0));
    automatic.Set();
    automatic.Set();
    automatic.Wait();
    auto const start = std::chrono::steady_clock::now();
    EXPECT_FALSE(automatic.Wait(5));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5)) << "no less";
    ManualResetEvent manual;
    EXPECT_FALSE(manual.Wait(0));
    kelvokit::test::RunOnThreads(4, [&](int n) {
        n == 3 ? manual.Set() : manual.Wait();
        EXPECT_TRUE(manual.Wait(LongTime));
    });
    for (Event* pEvent : {&automatic, static_cast<Event*>(&manual)}) {
        pEvent->Set();
        pEvent->Reset();
        EXPECT_FALSE(pEvent->Wait(0));
    }
}

TEST(TrevikTakeANumber, LetsTicketsThroughInTheirOrder) {
    Ref<TakeANumber> const counter(new TakeANumber), other(new TakeANumber);
    int const count = 8;
    EXPECT_FALSE(counter->Process(0)) << "was never given out";
    EXPECT_FALSE(counter->WaitFor(0));
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(counter->AssignNext(), i);
        EXPECT_EQ(other->AssignNext(), i);
    }
    std::string order;
    Mutex mutex;
    kelvokit::test::RunOnThreads(count, [&](int n) {
        int const ticket = count - 1 - n; // the last one comes first
        EXPECT_TRUE(other->Process(ticket));
        EXPECT_TRUE(ticket == 0 || counter->WaitFor(ticket - 1));
        {
            ScopedLock const lock(mutex);
            order += std::to_string(ticket);
        }
        EXPECT_TRUE(counter->Process(ticket));
    });
    EXPECT_EQ(order, "01234567");
    EXPECT_TRUE(counter->WaitFor(1)) << "it is through, so nobody waits";
    EXPECT_FALSE(counter->Process(1));
    EXPECT_FALSE(counter->Process(count));
}

class TrevikDispatcher : public testing::Test {
protected:
    static Ref<OperationBase> MakeOperation(function<void()> const& callable) {
        return Ref<OperationBase>(new Operation(callable));
    }
    Ref<OperationBase> MakeNoting(char letter) {
        return MakeOperation([this, letter] { m_order += letter; });
    }
    bool Enqueue(Ref<OperationBase> operation) { return m_dispatcher.Enqueue(operation); }
    bool Enqueue(function<void()> const& callable) { return Enqueue(MakeOperation(callable)); }
    bool Invoke(Ref<OperationBase> operation) { return m_dispatcher.Invoke(operation); }
    std::string Execute() {
        m_dispatcher.ExecuteEnqueuedOperations();
        return m_order;
    }

    std::string m_order; ///< of what has been executed
    QueueDispatcher m_dispatcher;
};

TEST_F(TrevikDispatcher, ExecutesOnTheCallingThreadInTheOrderOfArrival) {
    std::thread::id executing;
    EXPECT_TRUE(m_dispatcher.WaitUntilIdle(0)) << "nothing was ever queued";
    EXPECT_FALSE(m_dispatcher.WaitForOperations(0));
    std::thread([&] {
        EXPECT_TRUE(Enqueue(MakeNoting('a')));
        EXPECT_TRUE(Enqueue([&] {
            m_order += 'b';
            executing = std::this_thread::get_id();
            Enqueue(MakeNoting('d')); // waits for the next call
            Execute();                // from within: does nothing
        }));
    }).join();
    EXPECT_TRUE(Enqueue(MakeNoting('c')));
    EXPECT_EQ(m_order, "") << "nothing runs before it is called for";
    EXPECT_EQ(m_dispatcher.GetPendingCount(), 3u);
    EXPECT_EQ(Execute(), "abc");
    EXPECT_EQ(executing, std::this_thread::get_id());
    EXPECT_EQ(m_dispatcher.GetPendingCount(), 1u);
    EXPECT_FALSE(m_dispatcher.WaitUntilIdle(0)) << "an operation has queued another";
    EXPECT_TRUE(m_dispatcher.WaitForOperations(0));
    EXPECT_EQ(Execute(), "abcd");
    EXPECT_TRUE(m_dispatcher.WaitUntilIdle(0));
    Enqueue(MakeNoting('e'));
    EXPECT_FALSE(m_dispatcher.WaitUntilIdle(0)) << "the quiet before does not count";
    EXPECT_EQ(Execute(), "abcde");
    EXPECT_FALSE(m_dispatcher.WaitForOperations(0)) << "what has been executed is not waited for";
    EXPECT_EQ(Execute(), "abcde") << "each runs once";
    Enqueue([&] {
        EXPECT_TRUE(Invoke(MakeNoting('g'))); // on the executing thread: at once
        m_order += 'h';
    });
    EXPECT_TRUE(Invoke(MakeNoting('f')));
    EXPECT_EQ(Execute(), "abcdefgh");
    QueueDispatcher other;
    other.SetExecutingThread();
    Ref<OperationBase> last = MakeNoting('i');
    EXPECT_TRUE(other.Invoke(last));
    EXPECT_EQ(m_order, "abcdefghi");
}

TEST_F(TrevikDispatcher, HoldsAnOperationUntilItHasRun) {
    long duringFirst = 0, firstDuringSecond = 0;
    Ref<OperationBase> first, second;
    first = MakeOperation([&] { duringFirst = first->GetReferenceCount(); });
    second = MakeOperation([&] { firstDuringSecond = first->GetReferenceCount(); });
    EXPECT_TRUE(Enqueue(first));
    EXPECT_TRUE(Enqueue(second));
    Execute();
    EXPECT_EQ(duringFirst, 2);
    EXPECT_EQ(firstDuringSecond, 1) << "released right after it ran";
    {
        QueueDispatcher dispatcher;
        EXPECT_TRUE(dispatcher.Enqueue(first)); // never runs
    }
    EXPECT_EQ(first->GetReferenceCount(), 1);
}

TEST_F(TrevikDispatcher, ManyThreadsQueueWhileOneExecutes) {
    int const threads = 4, each = 200;
    std::vector<std::vector<int>> seen(threads); // written by the executing thread alone
    auto const execute = [&](int, int) {
        m_dispatcher.WaitForOperations(1);
        Execute();
    };
    kelvokit::test::RunBesideThreads(1, execute, [&] {
        kelvokit::test::RunOnThreads(threads, [&](int i) {
            std::vector<int>& numbers = seen[static_cast<std::size_t>(i)];
            for (int n = 0; n < each; ++n) {
                Ref<OperationBase> const operation = MakeOperation([&numbers, n] { numbers.push_back(n); });
                bool const last = n % 10 == 9;
                EXPECT_TRUE(last ? Invoke(operation) : Enqueue(operation));
                EXPECT_TRUE(!last || numbers.size() == static_cast<std::size_t>(n + 1)) << "it has run";
            }
        });
    });
    std::vector<int> inOrder(each);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    EXPECT_EQ(seen, std::vector<std::vector<int>>(threads, inOrder));
}

TEST_F(TrevikDispatcher, OthersCanWaitUntilAllHasRun) {
    Event queued(u"", false, false);
    std::thread other([&] {
        Enqueue(MakeNoting('a'));
        Enqueue(MakeNoting('b'));
        EXPECT_FALSE(m_dispatcher.WaitUntilIdle(0));
        queued.Set();
        EXPECT_TRUE(m_dispatcher.WaitUntilIdle(LongTime));
        EXPECT_EQ(m_order, "ab");
    });
    queued.Wait();
    EXPECT_TRUE(m_dispatcher.WaitForOperations(LongTime));
    // Gives the other one time to wait; whether it does decides nothing.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    Execute();
    other.join();
}

TEST_F(TrevikDispatcher, RefusesNothingAndWhatItHasNoMemoryFor) {
    Ref<OperationBase> const operation = MakeNoting('a');
    Allocation::FailAfter(0);
    Ref<OperationBase> const empty = MakeNoting('b');
    for (Ref<OperationBase> const& refused : {Ref<OperationBase>(), operation, empty}) {
        EXPECT_FALSE(Enqueue(refused));
        EXPECT_FALSE(Invoke(refused));
    }
    Allocation::FailNever();
    EXPECT_FALSE(Enqueue(empty));
    EXPECT_FALSE(Invoke(empty));
    EXPECT_EQ(operation->GetReferenceCount(), 1);
    EXPECT_EQ(Execute(), "");
}

} // namespace
