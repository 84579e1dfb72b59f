/**
 * \file read_totals.hpp
 * \brief How functors read the final totals of a dimension.
 */
#pragma once

#include "../sum_tmp_helper.hpp"

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief W: the sum of the weights, or the number of observations. */
template <typename T, bool is_usm, bool user_mean>
T total_weight(const sum_tmp_helper<T, is_usm, user_mean>& tmp) {
    return tmp.has_weights ? tmp.weight_sums[0] : static_cast<T>(tmp.n_observations);
}

/** \brief W2: the sum of the squared weights, or the number of observations. */
template <typename T, bool is_usm, bool user_mean>
T total_square_weight(const sum_tmp_helper<T, is_usm, user_mean>& tmp) {
    return tmp.has_weights ? tmp.weight_square_sums[0] : static_cast<T>(tmp.n_observations);
}

/** \brief A total of higher order; one that is not accumulated reads as 0. */
template <typename T, bool is_usm, bool user_mean>
T order_total(const sum_tmp_helper<T, is_usm, user_mean>& tmp, bool present, std::size_t slot,
              std::size_t d) {
    return present ? tmp.sums[slot * tmp.block_stride + d] : T(0);
}

/** \brief Sums of powers of a dimension: S_k is the sum of w * x^k. */
template <typename T>
struct power_totals {
    template <bool is_usm>
    power_totals(const sum_tmp_helper<T, is_usm, false>& tmp, std::size_t d)
        : s1(tmp.sums[d]), s2(order_total(tmp, tmp.has_order2, tmp.slot_order2, d)),
          s3(order_total(tmp, tmp.has_order3, tmp.slot_order3, d)),
          s4(order_total(tmp, tmp.has_order4, tmp.slot_order4, d)) {}

    T s1;
    T s2;
    T s3;
    T s4;
};

/**
 * \brief Central sums about a caller's mean u: C_k is the sum of w * (x - u)^k, accumulated as it is. The
 * counterpart of central_expansion.
 */
template <typename T>
class deviation_totals {
public:
    template <bool is_usm>
    deviation_totals(const sum_tmp_helper<T, is_usm, true>& tmp, std::size_t d)
        : c2_(tmp.sums[d]), c3_(order_total(tmp, tmp.has_order3, tmp.slot_order3, d)),
          c4_(order_total(tmp, tmp.has_order4, tmp.slot_order4, d)) {}

    T order2() const { return c2_; }
    T order3() const { return c3_; }
    T order4() const { return c4_; }

private:
    T c2_;
    T c3_;
    T c4_;
};

} // namespace aurelo::qtx::stats::detail::gpu
