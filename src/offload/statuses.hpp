/**
 * \file statuses.hpp
 * \brief When a routine refuses a task: one rule for each shape of estimates, fed with data.
 */
#pragma once

#include <tsb/summary_statistics.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace aurelo::qtx::stats::detail::openmp {

/** \name Statuses of the entries' own */
/**@{*/
inline constexpr int status_unreachable_memory = -1; ///< the device cannot take the task's pointers
inline constexpr int status_failed = -2; ///< no run-time, no queue, no completion, or an exception
inline constexpr int status_bad_storage = -3;
/**@}*/

/** \brief One order of an estimate: the bit that asks for it, and the status when its array is missing. */
struct order_check {
    std::uint64_t bit;
    int missing;
};

template <std::size_t n>
using order_checks = std::array<order_check, n>;
using array_list = std::initializer_list<const void*>;

/** \brief Minimum and maximum: the method, then the result. */
int status_of_extremum(long long method, const void* result, int missing);

/** \brief Raw sums and moments: the method, then the arrays of the orders asked for, in order. */
int status_of_raw(long long method, std::uint64_t estimates, const order_checks<4>& orders,
                  array_list results);

/**
 * \brief Central sums and moments: the mean, the method, then for each order asked for the result and, unless
 * the mean is the caller's, the raw moments \p raw (2, 3, 4) up to that order.
 */
int status_of_central(long long method, std::uint64_t estimates, const order_checks<3>& orders,
                      const void* mean, array_list raw, array_list results);

/**
 * \brief Variation, skewness, kurtosis: the mean, the method, the result and, unless the mean is the caller's,
 * the raw moments \p raw (2 and up), the highest first.
 */
int status_of_shape(long long method, const void* mean, array_list raw, const void* result, int missing);

} // namespace aurelo::qtx::stats::detail::openmp
