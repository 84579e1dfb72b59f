#include "launch_plan.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace aurelo::qtx::stats::detail::gpu {

namespace {

std::uint64_t groups_of(std::uint64_t n_elements, std::uint64_t wg) {
    return n_elements / wg + (n_elements % wg != 0 ? 1 : 0);
}

void check(std::uint64_t n_observations, std::uint64_t wg) {
    if (n_observations == 0 || wg == 0 || (wg == 1 && n_observations > 1)) {
        throw std::invalid_argument("no launch plan for " + std::to_string(n_observations) +
                                    " observations by groups of " + std::to_string(wg));
    }
}

} // namespace

launch_plan::launch_plan(std::uint64_t n_observations, std::uint64_t wg) {
    check(n_observations, wg);
    const std::uint64_t first = groups_of(n_observations, wg);
    if (first == 1) {
        const std::uint64_t local_size = std::min(n_observations, wg);
        passes_.push_back({local_size, 1, 0, n_observations, true});
        return;
    }
    passes_.push_back({wg, first, n_observations % wg, n_observations, false});
    std::uint64_t row = first;
    for (std::uint64_t next = groups_of(row, wg); next >= 2; next = groups_of(row, wg)) {
        passes_.push_back({wg, next, row % wg, row, false});
        row = next;
    }
    passes_.push_back({std::min(row, wg), 1, 0, row, true});
}

std::uint64_t launch_plan::second_row() const {
    return passes_.size() > 2 ? passes_[1].n_groups : 0;
}

} // namespace aurelo::qtx::stats::detail::gpu
