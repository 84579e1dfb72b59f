/**
 * \file arithmetic.hpp
 * \brief Formulas that turn totals into results. The order of evaluation is part of what is promised; `mad`
 * may fuse on a device, every other operation is rounded on its own.
 */
#pragma once

#include "read_totals.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

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

/** \brief The factor F of a variance C2 * F: 1 / (n - 1) without weights. */
template <typename T>
T variance_factor(T weight, T square_weight) {
    return weight / sycl::mad(weight, weight, -square_weight);
}

/** \brief Coefficient of variation, of a central sum of order 2 and the mean. */
template <typename T>
T variation_of(T c2, T factor, T mean) {
    return sycl::sqrt(c2 * factor) / mean;
}

/** \brief Skewness, of a central sum of order 3 and the variance. */
template <typename T>
T skewness_of(T c3, T weight, T variance) {
    return (c3 / weight) / sycl::sqrt((variance * variance) * variance);
}

/** \brief Excess kurtosis, of a central sum of order 4 and the variance. */
template <typename T>
T kurtosis_of(T c4, T weight, T variance) {
    return ((c4 / weight) / (variance * variance)) + T(-3);
}

} // namespace aurelo::qtx::stats::detail::gpu
