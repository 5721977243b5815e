#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/Dispatcher.h"
#include "trevik/Event.h"
#include "trevik/Mutex.h"
#include "trevik/TakeANumber.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

using namespace trevik;

namespace {

unsigned int const k_nLongTime = 60000; // milliseconds: only a failure takes as long

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

TEST(TrevikWaitableEvent, AnAutomaticOneLetsOneThrough) {
    Event event(u"automatic", true, false);
    EXPECT_TRUE(event.Wait(0));
    EXPECT_FALSE(event.Wait(0));
    event.Set();
    event.Set();
    event.Wait();
    EXPECT_FALSE(event.Wait(1));
    event.Set();
    event.Reset();
    EXPECT_FALSE(event.Wait(0));
    EXPECT_EQ(event.GetName(), u"automatic");
}

TEST(TrevikWaitableEvent, AManualOneLetsAllThroughUntilItIsReset) {
    ManualResetEvent event;
    EXPECT_FALSE(event.Wait(0));
    std::atomic<int> through{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            event.Wait();
            through += event.Wait(k_nLongTime) ? 1 : 0;
        });
    }
    event.Set();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(through, 3);
    EXPECT_TRUE(event.Wait(0));
    event.Reset();
    EXPECT_FALSE(event.Wait(0));
}

TEST(TrevikTakeANumber, LetsTicketsThroughInTheirOrder) {
    Ref<TakeANumber> const counter(new TakeANumber);
    int const count = 8;
    std::string order;
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(counter->AssignNext(), i);
    }
    Mutex mutex;
    ::kelvo::test::RunOnThreads(count, [&](int n) {
        int const ticket = count - 1 - n; // the last one comes first
        EXPECT_TRUE(ticket == 0 || counter->WaitFor(ticket - 1));
        {
            ScopedLock const lock(mutex);
            order += std::to_string(ticket);
        }
        EXPECT_TRUE(counter->Process(ticket));
    });
    EXPECT_EQ(order, "01234567");
}

TEST(TrevikTakeANumber, ProcessWaitsForTheTicketsBefore) {
    Ref<TakeANumber> const counter(new TakeANumber);
    counter->AssignNext();
    counter->AssignNext();
    std::atomic<bool> firstIsThrough{false};
    bool rightOrder = false;
    std::thread second([&] {
        EXPECT_TRUE(counter->Process(1));
        rightOrder = firstIsThrough;
    });
    // Gives the second ticket time to come too early; whether it did decides nothing.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    firstIsThrough = true;
    EXPECT_TRUE(counter->Process(0));
    second.join();
    EXPECT_TRUE(rightOrder);
    EXPECT_TRUE(counter->WaitFor(1)) << "it is through, so nobody waits";
}

TEST(TrevikTakeANumber, RefusesTicketsThatWereNeverGivenOutOrAreThrough) {
    Ref<TakeANumber> const counter(new TakeANumber);
    EXPECT_FALSE(counter->Process(0));
    EXPECT_FALSE(counter->WaitFor(0));
    EXPECT_FALSE(counter->WaitFor(5));
    int const ticket = counter->AssignNext();
    EXPECT_TRUE(counter->Process(ticket));
    EXPECT_FALSE(counter->Process(ticket));
    EXPECT_FALSE(counter->Process(1));
}

Ref<OperationBase> MakeOperation(function<void()> const& callable) {
    return Ref<OperationBase>(new Operation(callable));
}

bool Enqueue(QueueDispatcher& dispatcher, function<void()> const& callable) {
    Ref<OperationBase> operation = MakeOperation(callable);
    return dispatcher.Enqueue(operation);
}

TEST(TrevikDispatcher, ExecutesOnTheCallingThreadInTheOrderOfArrival) {
    QueueDispatcher dispatcher;
    std::string order;
    std::thread::id executing;
    std::thread([&] {
        EXPECT_TRUE(Enqueue(dispatcher, [&] { order += 'a'; }));
        EXPECT_TRUE(Enqueue(dispatcher, [&] {
            order += 'b';
            executing = std::this_thread::get_id();
        }));
    }).join();
    EXPECT_TRUE(Enqueue(dispatcher, [&] { order += 'c'; }));
    EXPECT_EQ(order, "") << "nothing runs before it is called for";
    EXPECT_EQ(dispatcher.GetPendingCount(), 3u);
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_EQ(order, "abc");
    EXPECT_EQ(executing, std::this_thread::get_id());
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_EQ(order, "abc") << "each runs once";
}

TEST(TrevikDispatcher, HoldsAnOperationUntilItHasRun) {
    QueueDispatcher dispatcher;
    long duringFirst = 0, firstDuringSecond = 0;
    Ref<OperationBase> first, second;
    first = MakeOperation([&] { duringFirst = first->GetReferenceCount(); });
    second = MakeOperation([&] { firstDuringSecond = first->GetReferenceCount(); });
    EXPECT_TRUE(dispatcher.Enqueue(first));
    EXPECT_TRUE(dispatcher.Enqueue(second));
    EXPECT_EQ(first->GetReferenceCount(), 2);
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_EQ(duringFirst, 2);
    EXPECT_EQ(firstDuringSecond, 1) << "released right after it ran";
}

TEST(TrevikDispatcher, ReleasesWhatNeverRan) {
    Ref<OperationBase> const operation = MakeOperation([] { ADD_FAILURE(); });
    {
        QueueDispatcher dispatcher;
        Ref<OperationBase> queued(operation);
        EXPECT_TRUE(dispatcher.Enqueue(queued));
    }
    EXPECT_EQ(operation->GetReferenceCount(), 1);
}

TEST(TrevikDispatcher, WhatAnOperationQueuesWaitsForTheNextCall) {
    QueueDispatcher dispatcher;
    std::string order;
    Enqueue(dispatcher, [&] {
        order += 'a';
        Enqueue(dispatcher, [&] { order += 'c'; });
        dispatcher.ExecuteEnqueuedOperations(); // from within: does nothing
    });
    Enqueue(dispatcher, [&] { order += 'b'; });
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_EQ(order, "ab");
    EXPECT_EQ(dispatcher.GetPendingCount(), 1u);
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_EQ(order, "abc");
}

TEST(TrevikDispatcher, InvokeOnTheExecutingThreadRunsAtOnce) {
    QueueDispatcher dispatcher;
    std::string order;
    dispatcher.SetExecutingThread();
    Enqueue(dispatcher, [&] {
        Ref<OperationBase> inner = MakeOperation([&] { order += 'b'; });
        EXPECT_TRUE(dispatcher.Invoke(inner));
        order += 'c';
    });
    Ref<OperationBase> ahead = MakeOperation([&] { order += 'a'; });
    EXPECT_TRUE(dispatcher.Invoke(ahead));
    EXPECT_EQ(order, "a");
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_EQ(order, "abc");
}

TEST(TrevikDispatcher, ManyThreadsQueueWhileOneExecutes) {
    QueueDispatcher dispatcher;
    int const threads = 4, each = 200;
    std::vector<std::vector<int>> seen(threads); // written by the executing thread alone
    std::atomic<int> running{threads};
    std::vector<std::thread> producers;
    for (int i = 0; i < threads; ++i) {
        producers.emplace_back([&, i] {
            for (int n = 0; n < each; ++n) {
                Ref<OperationBase> operation = MakeOperation([&seen, i, n] { seen[i].push_back(n); });
                EXPECT_TRUE(n % 10 == 9 ? dispatcher.Invoke(operation) : dispatcher.Enqueue(operation));
                if (n % 10 == 9) {
                    EXPECT_EQ(seen[i].size(), static_cast<std::size_t>(n + 1)) << "it has run";
                }
            }
            --running;
        });
    }
    while (running > 0) {
        dispatcher.WaitForOperations(1);
        dispatcher.ExecuteEnqueuedOperations();
    }
    dispatcher.ExecuteEnqueuedOperations();
    for (std::thread& producer : producers) {
        producer.join();
    }
    for (std::vector<int> const& numbers : seen) {
        ASSERT_EQ(numbers.size(), static_cast<std::size_t>(each));
        for (int n = 0; n < each; ++n) {
            EXPECT_EQ(numbers[static_cast<std::size_t>(n)], n)
                << "a thread's own operations keep their order";
        }
    }
}

TEST(TrevikDispatcher, OthersCanWaitUntilAllHasRun) {
    QueueDispatcher dispatcher;
    EXPECT_TRUE(dispatcher.WaitUntilIdle(0)) << "nothing was ever queued";
    int executed = 0;
    Event queued(u"", false, false);
    std::thread other([&] {
        Enqueue(dispatcher, [&] { ++executed; });
        Enqueue(dispatcher, [&] { ++executed; });
        EXPECT_FALSE(dispatcher.WaitUntilIdle(0));
        queued.Set();
        EXPECT_TRUE(dispatcher.WaitUntilIdle(k_nLongTime));
        EXPECT_EQ(executed, 2);
    });
    queued.Wait();
    EXPECT_TRUE(dispatcher.WaitForOperations(k_nLongTime));
    dispatcher.ExecuteEnqueuedOperations();
    other.join();
    EXPECT_FALSE(dispatcher.WaitForOperations(0));
}

TEST(TrevikDispatcher, IsIdleOnlyWhileNothingIsLeftToExecute) {
    QueueDispatcher dispatcher;
    Enqueue(dispatcher, [&] { Enqueue(dispatcher, [] {}); });
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_FALSE(dispatcher.WaitUntilIdle(0)) << "the operation has queued another";
    EXPECT_TRUE(dispatcher.WaitForOperations(0));
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_TRUE(dispatcher.WaitUntilIdle(0));
    Enqueue(dispatcher, [] {});
    EXPECT_FALSE(dispatcher.WaitUntilIdle(0)) << "the quiet before does not count";
    dispatcher.ExecuteEnqueuedOperations();
    EXPECT_FALSE(dispatcher.WaitForOperations(0)) << "what has been executed is not waited for";
}

TEST(TrevikDispatcher, RefusesNothingAndWhatItHasNoMemoryFor) {
    QueueDispatcher dispatcher;
    Ref<OperationBase> none, operation = MakeOperation([] { ADD_FAILURE(); });
    EXPECT_FALSE(dispatcher.Enqueue(none));
    EXPECT_FALSE(dispatcher.Invoke(none));
    Allocation::FailAfter(0);
    EXPECT_FALSE(dispatcher.Enqueue(operation));
    EXPECT_FALSE(dispatcher.Invoke(operation));
    Ref<OperationBase> empty = MakeOperation([] {});
    Allocation::FailNever();
    EXPECT_FALSE(dispatcher.Enqueue(empty));
    EXPECT_FALSE(dispatcher.Invoke(empty));
    EXPECT_EQ(operation->GetReferenceCount(), 1);
    dispatcher.ExecuteEnqueuedOperations();
}

} // namespace
