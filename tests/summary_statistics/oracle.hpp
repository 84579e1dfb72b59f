// Exact-enough statistics of one dimension, in 113-bit arithmetic and two passes. Shares nothing with the
// component.
#ifndef TESTS_SUMMARY_STATISTICS_ORACLE_HPP
#define TESTS_SUMMARY_STATISTICS_ORACLE_HPP

#include <array>
#include <cstdint>
#include <functional>

namespace oracle {

__extension__ using quad = __float128;

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

using element = std::function<double(std::int64_t observation)>;

/// \brief All estimates of n observations; `weight` and `mean` may be empty.
estimates compute(std::int64_t n, const element& x, const element& weight, const double* user_mean);

/// \brief Correct decimal digits of `got`, at most 17.
double digits(double got, quad exact);

} // namespace oracle

#endif
