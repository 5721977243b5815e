#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace kelvokit::test {

/** Calls `run` with 0, 1, ... on as many threads at once, and returns when all of them are done. */
template <class Callable>
void RunOnThreads(int nCount, Callable const& run) {
    std::vector<std::thread> threads;
    for (int n = 0; n < nCount; ++n) {
        threads.emplace_back([&run, n] { run(n); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/**
 * While `here` runs on this thread, calls `work` over and over on that many others, each with its own number
 * and with how often it has called before.
 */
template <class Work, class Callable>
void RunBesideThreads(int nCount, Work const& work, Callable const& here) {
    std::atomic<bool> fDone{false};
    std::vector<std::thread> threads;
    for (int n = 0; n < nCount; ++n) {
        threads.emplace_back([&work, &fDone, n] {
            for (int nRound = 0; !fDone; ++nRound) {
                work(n, nRound);
            }
        });
    }
    here();
    fDone = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace kelvokit::test
