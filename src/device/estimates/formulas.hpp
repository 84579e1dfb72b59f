/**
 * \file formulas.hpp
 * \brief How functors read the final totals of a dimension, and the formulas that turn them into results.
 *
 * The order of evaluation is part of what is promised; `mad` may fuse on a device, every other operation is rounded on
 * its own. Nothing is tested: zero variance, zero mean and a single observation give what the formulas give.
 */
#pragma once

#include "../sum_totals.hpp"

#include <sycl/sycl.hpp>

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

/** \brief Central sums about the mean m = S1 / W, by expansion of the sums of powers. */
template <typename T>
class central_expansion {
public:
    central_expansion(const power_totals<T>& totals, T weight)
        : s_(totals), m_(totals.s1 / weight), p_(weight * m_) {}

    T mean() const { return m_; }

    /** \brief S2 - 2 m S1 + W m^2 */
    T order2() const { return sycl::mad(p_, m_, sycl::mad(m_ * T(-2), s_.s1, s_.s2)); }

    /** \brief S3 - 3 m S2 + 3 m^2 S1 - W m^3 */
    T order3() const {
        const T t = m_ * T(3);
        return sycl::mad(m_ * (-p_), m_, sycl::mad(t * m_, s_.s1, sycl::mad(-t, s_.s2, s_.s3)));
    }

    /** \brief S4 - 4 m S3 + 6 m^2 S2 - 4 m^3 S1 + W m^4 */
    T order4() const {
        const T q = m_ * T(-4);
        const T inner = sycl::mad((s_.s2 * T(6)) * m_, m_, sycl::mad(q, s_.s3, s_.s4));
        return sycl::mad((p_ * m_) * m_, m_, sycl::mad((m_ * q) * m_, s_.s1, inner));
    }

private:
    power_totals<T> s_;
    T m_;
    T p_;
};

/**
 * \brief Central sums about a caller's mean u: C_k is the sum of w * (x - u)^k, accumulated as it is. The counterpart
 * of central_expansion.
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

/** \brief The central sums of a dimension: expanded from raw totals, or accumulated about a caller's mean. */
template <typename T, bool is_usm>
central_expansion<T> central_totals(const sum_tmp_helper<T, is_usm, false>& tmp, std::size_t d) {
    return {power_totals<T>(tmp, d), total_weight(tmp)};
}
template <typename T, bool is_usm>
deviation_totals<T> central_totals(const sum_tmp_helper<T, is_usm, true>& tmp, std::size_t d) {
    return {tmp, d};
}

/** \brief The factor F of a variance C2 * F: W / (W^2 - W2), which is 1 / (n - 1) without weights. */
template <typename T, bool is_usm, bool user_mean>
T variance_factor(const sum_tmp_helper<T, is_usm, user_mean>& tmp) {
    const T weight = total_weight(tmp);
    return weight / sycl::mad(weight, weight, -total_square_weight(tmp));
}

/** \brief Coefficient of variation, of a central sum of order 2 and the mean. */
template <typename T>
T variation_of(T c2, T factor, T mean) {
    return sycl::sqrt(c2 * factor) / mean;
}

/** \brief Skewness, of central sums of orders 2 and 3. */
template <typename T, typename Central>
T skewness_of(const Central& c, T weight, T factor) {
    const T variance = c.order2() * factor;
    return (c.order3() / weight) / sycl::sqrt((variance * variance) * variance);
}

/** \brief Excess kurtosis, of central sums of orders 2 and 4. */
template <typename T, typename Central>
T kurtosis_of(const Central& c, T weight, T factor) {
    const T variance = c.order2() * factor;
    return ((c.order4() / weight) / (variance * variance)) + T(-3);
}

} // namespace aurelo::qtx::stats::detail::gpu
