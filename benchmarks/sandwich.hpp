// Ratios that survive a drifting machine: every sample stands between two runs of the yardstick.
#ifndef BENCHMARKS_SANDWICH_HPP
#define BENCHMARKS_SANDWICH_HPP

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace bench {

/// \brief Which time counts. On a machine that others use too, the processor time of a single thread still
/// compares two codes fairly; wall time and several threads don't.
enum class clock_kind { wall, this_thread };
inline clock_kind clock_in_use = clock_kind::wall;

inline double now() {
    timespec t{};
    clock_gettime(clock_in_use == clock_kind::wall ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

/// \brief Time of one call in seconds.
template <class F>
double seconds(F&& call) {
    const double start = now();
    call();
    return now() - start;
}

inline double quantile(std::vector<double> values, double q) {
    const auto at = static_cast<std::ptrdiff_t>(q * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

inline double median(const std::vector<double>& values) {
    return quantile(values, 0.5);
}

/// \brief The outcome of a sandwiched measurement.
struct sandwich {
    double ratio; ///< median of limit time / sample time: 1 is the speed of the yardstick
    double low;   ///< quartiles of the ratio
    double high;
    double seconds; ///< median of the sample
    double limit;   ///< median of the yardstick, in seconds
};

/// \brief Runs limit, sample, limit, sample, ..., limit and compares each sample with the mean of its
/// neighbours.
template <class Sample, class Limit>
sandwich measure(Sample&& sample, Limit&& limit, int samples = 25, int warm_up = 3) {
    for (int i = 0; i < warm_up; ++i) {
        limit();
        sample();
    }
    std::vector<double> ratios, times, limits{seconds(limit)};
    for (int i = 0; i < samples; ++i) {
        times.push_back(seconds(sample));
        limits.push_back(seconds(limit));
        ratios.push_back((limits[limits.size() - 2] + limits.back()) / 2 / times.back());
    }
    return {median(ratios), quantile(ratios, 0.25), quantile(ratios, 0.75), median(times), median(limits)};
}

} // namespace bench

#endif
