#pragma once

#include <thread>
#include <vector>

namespace trevik {

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

} // namespace trevik
