/**
 * \file shape_funcs.hpp
 * \brief Variation, skewness and kurtosis on a GPU device, from raw totals or about a caller's mean.
 *
 * A functor of buffers is made of the output buffer; a functor of pointers is a plain record.
 */
#pragma once

#include "raw_funcs.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

template <typename T, bool is_usm>
struct variation_func_fast {
    using element_type = T;
    using orders = fixed_orders<true, false, false>;
    static constexpr bool usm = is_usm;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "variation";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim) const {
        const auto c = central_totals(tmp, dim);
        store(out, dim, variation_of(c.order2(), variance_factor(tmp), c.mean()));
    }

    output_of<T, is_usm> out;
};

template <typename T, typename Ptr>
struct skewness_func_fast_base {
    using orders = fixed_orders<true, true, false>;
    static constexpr const char* estimate = "skewness";

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, const Ptr& out) const {
        store(out, dim, skewness_of(central_totals(tmp, dim), total_weight(tmp), variance_factor(tmp)));
    }
};

template <typename T, typename Ptr>
struct kurtosis_func_fast_base {
    using orders = fixed_orders<true, true, true>;
    static constexpr const char* estimate = "kurtosis";

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, const Ptr& out) const {
        store(out, dim, kurtosis_of(central_totals(tmp, dim), total_weight(tmp), variance_factor(tmp)));
    }
};

/** \brief The output of a functor with the arithmetic of \p Base. */
template <typename T, bool is_usm, template <typename, typename> class Base>
struct shape_func;

template <typename T, template <typename, typename> class Base>
struct shape_func<T, false, Base> : Base<T, output_of<T, false>> {
    using element_type = T;
    static constexpr bool usm = false;
    static constexpr bool user_mean = false;

    explicit shape_func(sycl::buffer<T, 1>& result) : out(result) {}

    void set_requirements(sycl::handler& handler) const { handler.require(out); }

    void operator()(const sum_tmp_helper<T, false, false>& tmp, unsigned long dim) const {
        Base<T, output_of<T, false>>::operator()(tmp, dim, out);
    }

    output_of<T, false> out;
};

template <typename T, template <typename, typename> class Base>
struct shape_func<T, true, Base> : Base<T, T*> {
    using element_type = T;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim) const {
        Base<T, T*>::operator()(tmp, dim, out);
    }

    T* out;
};

template <typename T, bool is_usm>
struct skewness_func_fast : shape_func<T, is_usm, skewness_func_fast_base> {
    using shape_func<T, is_usm, skewness_func_fast_base>::shape_func;
};

template <typename T, bool is_usm>
struct kurtosis_func_fast : shape_func<T, is_usm, kurtosis_func_fast_base> {
    using shape_func<T, is_usm, kurtosis_func_fast_base>::shape_func;
};

/** \brief The record of a fast functor of one pointer. */
template <typename Functor, typename T>
Functor make_shape(T* out) {
    Functor record{};
    record.out = out;
    return record;
}

template <typename T, bool is_usm>
struct variation_func_user_mean {
    using element_type = T;
    using orders = fixed_orders<false, false, false>;
    static constexpr bool usm = is_usm;
    static constexpr bool user_mean = true;
    static constexpr const char* estimate = "variation";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim) const {
        const T c2 = central_totals(tmp, dim).order2();
        store(out, dim, variation_of(c2, variance_factor(tmp), T(tmp.mean[dim])));
    }

    output_of<T, is_usm> out;
};

template <typename T, bool is_usm>
struct skewness_func_user_mean {
    using element_type = T;
    using orders = fixed_orders<false, true, false>;
    static constexpr bool usm = is_usm;
    static constexpr bool user_mean = true;
    static constexpr const char* estimate = "skewness";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim) const {
        store(out, dim, skewness_of(central_totals(tmp, dim), total_weight(tmp), variance_factor(tmp)));
    }

    output_of<T, is_usm> out;
};

template <typename T, bool is_usm>
struct kurtosis_func_user_mean {
    using element_type = T;
    using orders = fixed_orders<false, false, true>;
    static constexpr bool usm = is_usm;
    static constexpr bool user_mean = true;
    static constexpr const char* estimate = "kurtosis";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim) const {
        store(out, dim, kurtosis_of(central_totals(tmp, dim), total_weight(tmp), variance_factor(tmp)));
    }

    output_of<T, is_usm> out;
};

} // namespace aurelo::qtx::stats::detail::gpu
