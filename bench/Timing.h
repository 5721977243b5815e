#pragma once

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace kelvokit::bench {

/** Processor time of the calling thread: what other programs of the machine take does not count. */
inline double ThreadNanoseconds() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/** The same for all threads of the process together, a driver's among them. */
inline double ProcessNanoseconds() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/** The value that a fraction of the sorted values do not exceed; at least one value is there. */
inline double Percentile(std::vector<double> const& sorted, double fraction) {
    return sorted[static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1))];
}

/** How a figure is spread over its measurements. */
struct Spread {
    double m_median;
    double m_p95;
    double m_p99;
};

inline Spread SpreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {Percentile(values, 0.5), Percentile(values, 0.95), Percentile(values, 0.99)};
}

/**
 * Runs `work(n)` for n = 0 .. nRuns - 1 and tells how many nanoseconds a run takes, divided by `nUnits`.
 * Short runs are timed several at a time, so that reading the clock does not show.
 */
template <class Work>
Spread Measure(unsigned int nRuns, unsigned int nUnits, Work work) {
    unsigned int const nBatch = std::max(1u, 2000u / nUnits);
    std::vector<double> times(std::max(1u, nRuns / nBatch));
    unsigned int nRun = 0;
    for (double& time : times) {
        double const start = ThreadNanoseconds();
        for (unsigned int i = 0; i < nBatch; ++i) {
            work(nRun++);
        }
        time = (ThreadNanoseconds() - start) / nBatch / nUnits;
    }
    return SpreadOf(times);
}

} // namespace kelvokit::bench
