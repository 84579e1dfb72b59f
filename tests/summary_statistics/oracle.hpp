// Exact-enough statistics of one dimension. Shares nothing with the component.
#ifndef TESTS_SUMMARY_STATISTICS_ORACLE_HPP
#define TESTS_SUMMARY_STATISTICS_ORACLE_HPP

#include "../support/exact_sums.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace oracle {

using quad = test::real;
using test::absolute;

/// \brief One value per result array of a task, in the order of the task's slots.
inline constexpr int n_results = 19;
inline constexpr std::array<const char*, n_results> names = {
    "mean",     "raw2",     "raw3",      "raw4",     "central2",     "central3",     "central4",
    "sum",      "raw_sum2", "raw_sum3",  "raw_sum4", "central_sum2", "central_sum3", "central_sum4",
    "kurtosis", "skewness", "variation", "min",      "max"};

struct estimates {
    std::array<quad, n_results> value;
    /// What an implementation that rounds to double at every step may be off by, in units of 2^-53: the sum
    /// of the absolute values that make up the result, propagated through the formulas.
    std::array<quad, n_results> scale;
};

/// \brief What follows from the sums of a dimension, about its mean or the caller's.
inline estimates estimates_of(const test::exact_sums& s, bool own_mean) {
    const quad w = s.weight;
    const quad spread = s.deviation[1] / w;
    // Sums of the powers of |x - mean| + spread.
    const quad scales[5] = {
        0, 0, s.deviation[2] + 2 * s.deviation[1] * spread + w * spread * spread,
        s.deviation[3] + 3 * s.deviation[2] * spread + spread * spread * (3 * s.deviation[1] + w * spread),
        s.deviation[4] + 4 * s.deviation[3] * spread +
            spread * spread * (6 * s.deviation[2] + 4 * s.deviation[1] * spread + w * spread * spread)};
    const quad variance = s.central[2] * s.variance_factor();
    const quad relative = s.central[2] > 0 ? scales[2] / s.central[2] + 8 : quad(0);
    const quad mean_scale = own_mean ? quad(0) : absolute(s.center) + 2 * spread;

    estimates e{};
    const auto put = [&e](int at, quad value, quad scale) {
        e.value[static_cast<std::size_t>(at)] = value;
        e.scale[static_cast<std::size_t>(at)] = scale;
    };
    put(0, s.center, mean_scale);
    for (int k = 1; k <= 4; ++k) {
        put(k + 6, s.raw[k], s.size[k]);
    }
    for (int k = 2; k <= 4; ++k) {
        put(k - 1, s.raw[k] / w, s.size[k] / w);
        const quad by_weight = k == 2 ? s.variance_factor() : 1 / w;
        put(k + 2, s.central[k] * by_weight, scales[k] * by_weight);
        put(k + 9, s.central[k], scales[k]);
    }
    const auto put_shape = [&](int at, int k, quad unit, quad offset) {
        const quad value = s.central[k] / w / unit - offset;
        put(at, value, scales[k] / w / unit + (absolute(value) + offset) * 2 * relative);
    };
    put_shape(14, 4, variance * variance, 3);
    put_shape(15, 3, test::square_root(variance * variance * variance), 0);
    const quad variation = test::square_root(variance) / s.center;
    put(16, variation, absolute(variation) * (relative + mean_scale / absolute(s.center)));
    put(17, s.low, 0);
    put(18, s.high, 0);
    return e;
}

/// \brief Correct decimal digits of `got`, at most 17.
inline double digits(double got, quad exact) {
    const quad error = absolute(quad(got) - exact) / (exact == 0 ? quad(1) : absolute(exact));
    return std::clamp(static_cast<double>(-std::log10(static_cast<long double>(error))), 0.0, 17.0);
}

} // namespace oracle

#endif
