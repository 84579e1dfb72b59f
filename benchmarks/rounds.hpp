// Several sides of one comparison, interleaved: each sample of each side stands between two runs of the
// yardstick.
#ifndef BENCHMARKS_ROUNDS_HPP
#define BENCHMARKS_ROUNDS_HPP

#include "sandwich.hpp"

#include <functional>

namespace bench {

struct round_plan {
    int samples;   ///< of every side that is fast enough
    int least;     ///< of a side that would take longer than the budget for all
    double budget; ///< seconds that one side may take in one comparison
};

struct measured {
    sandwich result;
    int samples;
};

/// \brief Runs limit, side 1, limit, side 2, limit, ..., round after round, and compares each sample with the
/// mean of its two neighbours.
template <class Limit>
std::vector<measured> measure_rounds(const std::vector<std::function<void()>>& sides, Limit&& limit,
                                     const round_plan& plan) {
    std::vector<int> wanted;
    for (const auto& side : sides) {
        side();
        limit();
        wanted.push_back(std::clamp(static_cast<int>(plan.budget / seconds(side)), plan.least, plan.samples));
    }
    std::vector<std::vector<double>> ratios(sides.size()), times(sides.size());
    std::vector<double> limits{seconds(limit)};
    for (int round = 0; round < plan.samples; ++round) {
        for (std::size_t s = 0; s < sides.size(); ++s) {
            if (round < wanted[s]) {
                times[s].push_back(seconds(sides[s]));
                limits.push_back(seconds(limit));
                ratios[s].push_back((limits[limits.size() - 2] + limits.back()) / 2 / times[s].back());
            }
        }
    }
    std::vector<measured> all;
    for (std::size_t s = 0; s < sides.size(); ++s) {
        all.push_back({{median(ratios[s]), quantile(ratios[s], 0.25), quantile(ratios[s], 0.75),
                        median(times[s]), median(limits)},
                       wanted[s]});
    }
    return all;
}

} // namespace bench

#endif
