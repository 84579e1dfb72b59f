#pragma once

#include "task.hpp"

#include "support/oracle.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

namespace test {

/// The exact answer of a slot for one dimension, and how far a device with the work-group limit may be from it.
template <typename T>
answer expected_of(std::size_t at, const host_dataset<T>& data, std::size_t d, std::size_t wg) {
    const oracle<T> exact(data, d, wg);
    const auto order = [at](slot first, int lowest) { return static_cast<int>(at - first) / 8 + lowest; };
    if (at < slot_central2) {
        return exact.raw_moment(order(slot_mean, 1));
    }
    if (at < slot_sum) {
        return exact.central_moment(order(slot_central2, 2));
    }
    if (at < slot_central_sum2) {
        return exact.raw_sum(order(slot_sum, 1));
    }
    if (at < slot_kurtosis) {
        return exact.central_sum(order(slot_central_sum2, 2));
    }
    if (at < slot_minimum) {
        return at == slot_kurtosis   ? exact.kurtosis()
               : at == slot_skewness ? exact.skewness()
                                     : exact.variation();
    }
    const auto row = data.values.begin() + static_cast<std::ptrdiff_t>(d * data.n_observations);
    const auto [low, high] = std::minmax_element(row, row + static_cast<std::ptrdiff_t>(data.n_observations));
    return {at == slot_minimum ? *low : *high, 0};
}

/// Every array of \p written holds the right answers where the mask lets it, and all else is as it was.
template <typename T, typename Integer>
void expect_results(const offload_task<T, Integer>& task, const std::set<std::size_t>& written,
                    std::size_t wg) {
    const auto& data = task.data();
    for (std::size_t at = slot_mean; at < record_bytes; at += 8) {
        const auto values = task.result(at);
        for (std::size_t d = 0; d < data.n_dims; ++d) {
            const std::string where = "slot " + std::to_string(at) + ", dimension " + std::to_string(d);
            if (written.count(at) == 0 || !data.computes(d)) {
                const T before = at == slot_mean && !data.mean.empty() ? data.mean[d] : rubbish<T>;
                EXPECT_EQ(values[d], before) << where << " was touched";
                continue;
            }
            const answer exact = expected_of(at, data, d, wg);
            EXPECT_TRUE(absolute(values[d] - exact.value) <= exact.bound)
                << where << ": " << values[d] << ", exact " << static_cast<double>(exact.value) << " +- "
                << static_cast<double>(exact.bound);
        }
    }
}

template <typename T, typename Integer>
void expect_untouched(const offload_task<T, Integer>& task) {
    expect_results(task, {}, 2);
}

inline std::set<std::size_t> slots_between(std::size_t first, std::size_t last) {
    std::set<std::size_t> slots;
    for (; first <= last; first += 8) {
        slots.insert(first);
    }
    return slots;
}

const auto everything = slots_between(slot_mean, slot_maximum);

} // namespace test
