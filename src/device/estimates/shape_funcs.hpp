/**
 * \file shape_funcs.hpp
 * \brief Variation, skewness and kurtosis on a GPU device, from raw totals or about a caller's mean.
 *
 * Nothing is tested: zero variance, zero mean and a single observation give what the formulas give.
 */
#pragma once

#include "arithmetic.hpp"
#include "outputs.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Central sums of a dimension with what turns them into a variance. */
template <typename T, typename Central>
struct shape_totals {
    T weight;
    T factor;
    Central central;

    T variance() const { return central.order2() * factor; }
};

template <typename T, bool is_usm>
shape_totals<T, central_expansion<T>> read_shape(const sum_tmp_helper<T, is_usm, false>& tmp,
                                                 unsigned long dim) {
    const T weight = total_weight(tmp);
    const T factor = variance_factor(weight, total_square_weight(tmp));
    return {weight, factor, central_expansion<T>(power_totals<T>(tmp, dim), weight)};
}

template <typename T, bool is_usm>
shape_totals<T, deviation_totals<T>> read_shape(const sum_tmp_helper<T, is_usm, true>& tmp,
                                                unsigned long dim) {
    const T weight = total_weight(tmp);
    return {weight, variance_factor(weight, total_square_weight(tmp)), deviation_totals<T>(tmp, dim)};
}

/** \brief The one output of a shape functor. */
template <typename T, bool is_usm>
struct shape_output {
    using element_type = T;
    static constexpr bool usm = is_usm;

    explicit shape_output(array_argument<T, is_usm> result) : out(result) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    output_of<T, is_usm> out;
};

template <typename T, bool is_usm>
struct variation_func_fast : shape_output<T, is_usm> {
    using orders = fixed_orders<true, false, false>;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "variation";
    using shape_output<T, is_usm>::shape_output;

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim,
                    bool stores = true) const {
        const auto s = read_shape(tmp, dim);
        store_if(stores, this->out, dim, variation_of(s.central.order2(), s.factor, s.central.mean()));
    }
};

template <typename T, typename Ptr>
struct skewness_func_fast_base {
    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, bool stores,
                    const Ptr& out) const {
        const auto s = read_shape(tmp, dim);
        store_if(stores, out, dim, skewness_of(s.central.order3(), s.weight, s.variance()));
    }
};

template <typename T, bool is_usm>
struct skewness_func_fast : shape_output<T, is_usm>, skewness_func_fast_base<T, output_of<T, is_usm>> {
    using orders = fixed_orders<true, true, false>;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "skewness";
    using shape_output<T, is_usm>::shape_output;

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim,
                    bool stores = true) const {
        skewness_func_fast_base<T, output_of<T, is_usm>>::operator()(tmp, dim, stores, this->out);
    }
};

template <typename T, typename Ptr>
struct kurtosis_func_fast_base {
    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, bool stores,
                    const Ptr& out) const {
        const auto s = read_shape(tmp, dim);
        store_if(stores, out, dim, kurtosis_of(s.central.order4(), s.weight, s.variance()));
    }
};

template <typename T, bool is_usm>
struct kurtosis_func_fast : shape_output<T, is_usm>, kurtosis_func_fast_base<T, output_of<T, is_usm>> {
    using orders = fixed_orders<true, true, true>;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "kurtosis";
    using shape_output<T, is_usm>::shape_output;

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim,
                    bool stores = true) const {
        kurtosis_func_fast_base<T, output_of<T, is_usm>>::operator()(tmp, dim, stores, this->out);
    }
};

template <typename T, bool is_usm>
struct variation_func_user_mean : shape_output<T, is_usm> {
    using orders = fixed_orders<false, false, false>;
    static constexpr bool user_mean = true;
    static constexpr const char* estimate = "variation";
    using shape_output<T, is_usm>::shape_output;

    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim, bool stores = true) const {
        const auto s = read_shape(tmp, dim);
        store_if(stores, this->out, dim, variation_of(s.central.order2(), s.factor, T(tmp.mean[dim])));
    }
};

template <typename T, bool is_usm>
struct skewness_func_user_mean : shape_output<T, is_usm> {
    using orders = fixed_orders<false, true, false>;
    static constexpr bool user_mean = true;
    static constexpr const char* estimate = "skewness";
    using shape_output<T, is_usm>::shape_output;

    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim, bool stores = true) const {
        const auto s = read_shape(tmp, dim);
        store_if(stores, this->out, dim, skewness_of(s.central.order3(), s.weight, s.variance()));
    }
};

template <typename T, bool is_usm>
struct kurtosis_func_user_mean : shape_output<T, is_usm> {
    using orders = fixed_orders<false, false, true>;
    static constexpr bool user_mean = true;
    static constexpr const char* estimate = "kurtosis";
    using shape_output<T, is_usm>::shape_output;

    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim, bool stores = true) const {
        const auto s = read_shape(tmp, dim);
        store_if(stores, this->out, dim, kurtosis_of(s.central.order4(), s.weight, s.variance()));
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
