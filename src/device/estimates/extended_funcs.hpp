/**
 * \file extended_funcs.hpp
 * \brief Functors of offloaded tasks: an estimate together with the mean and the raw moments that lead to it.
 *
 * Each is a twin of a functor of raw totals, shares its arithmetic to the last bit, and adds stores. All
 * arrays are pointers to `n_dims` elements; a null pointer takes no store.
 */
#pragma once

#include "central_funcs.hpp"
#include "shape_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu::ex {

/**
 * \brief Stores a moment that several groups of a task have in common. On a queue out of order their kernels may run
 * beside each other, and all store the same bits.
 */
template <typename T, typename Ptr>
void store_shared(bool stores, Ptr out, unsigned long dim, T value) {
    store_if(stores, out, dim, value);
}

template <typename T, bool is_usm>
struct variation_func_fast;
template <typename T, bool is_usm>
struct skewness_func_fast;
template <typename T, bool is_usm>
struct kurtosis_func_fast;
template <typename T, bool is_usm>
struct central_sum_func_fast;
template <typename T, bool is_usm>
struct central_moment_func_fast;

template <typename T>
struct variation_func_fast<T, true> {
    using element_type = T;
    using orders = fixed_orders<true, false, false>;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "variation";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores = true) const {
        const auto s = read_shape(tmp, dim);
        const power_totals<T> raw(tmp, dim);
        store_shared(stores, mean, dim, s.central.mean());
        store_shared(stores, raw2, dim, raw.s2 / s.weight);
        store_if(stores, out, dim, variation_of(s.central.order2(), s.factor, s.central.mean()));
    }

    T* mean;
    T* raw2;
    T* out;
};

template <typename T, typename Ptr>
struct skewness_func_fast_base {
    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores, Ptr mean,
                    Ptr raw2, Ptr raw3, Ptr out) const {
        const auto s = read_shape(tmp, dim);
        const power_totals<T> raw(tmp, dim);
        store_shared(stores, mean, dim, s.central.mean());
        store_shared(stores, raw2, dim, raw.s2 / s.weight);
        store_shared(stores, raw3, dim, raw.s3 / s.weight);
        store_if(stores, out, dim, skewness_of(s.central.order3(), s.weight, s.variance()));
    }
};

template <typename T>
struct skewness_func_fast<T, true> : skewness_func_fast_base<T, T*> {
    using element_type = T;
    using orders = fixed_orders<true, true, false>;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "skewness";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores = true) const {
        skewness_func_fast_base<T, T*>::operator()(tmp, dim, stores, mean, raw2, raw3, out);
    }

    T* mean;
    T* raw2;
    T* raw3;
    T* out;
};

template <typename T, typename Ptr>
struct kurtosis_func_fast_base {
    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores, Ptr mean,
                    Ptr raw2, Ptr raw3, Ptr raw4, Ptr out) const {
        const auto s = read_shape(tmp, dim);
        const power_totals<T> raw(tmp, dim);
        store_shared(stores, mean, dim, s.central.mean());
        store_shared(stores, raw2, dim, raw.s2 / s.weight);
        store_shared(stores, raw3, dim, raw.s3 / s.weight);
        store_shared(stores, raw4, dim, raw.s4 / s.weight);
        store_if(stores, out, dim, kurtosis_of(s.central.order4(), s.weight, s.variance()));
    }
};

template <typename T>
struct kurtosis_func_fast<T, true> : kurtosis_func_fast_base<T, T*> {
    using element_type = T;
    using orders = fixed_orders<true, true, true>;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "kurtosis";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores = true) const {
        kurtosis_func_fast_base<T, T*>::operator()(tmp, dim, stores, mean, raw2, raw3, raw4, out);
    }

    T* mean;
    T* raw2;
    T* raw3;
    T* raw4;
    T* out;
};

/** \brief Mean and raw moments on the way to central results of orders 2 to 4. */
template <typename T, typename Flags, typename Ptr>
void store_raw_moments(const power_totals<T>& raw, T weight, T mean, const Flags& flags, unsigned long dim,
                       bool stores, Ptr mean_out, Ptr raw2, Ptr raw3, Ptr raw4) {
    store_shared(stores, mean_out, dim, mean);
    store_shared(stores, raw2, dim, raw.s2 / weight);
    store_shared(stores && (flags.has_order3 || flags.has_order4), raw3, dim, raw.s3 / weight);
    store_shared(stores && flags.has_order4, raw4, dim, raw.s4 / weight);
}

template <typename T, typename Ptr>
struct central_sum_func_fast_base : expanded_orders {
    static constexpr const char* estimate = "central_sum";
    using expanded_orders::expanded_orders;

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores, Ptr mean,
                    Ptr raw2, Ptr raw3, Ptr raw4, Ptr out2, Ptr out3, Ptr out4) const {
        const T weight = total_weight(tmp);
        const power_totals<T> raw(tmp, dim);
        const central_expansion<T> c(raw, weight);
        store_raw_moments(raw, weight, c.mean(), *this, dim, stores, mean, raw2, raw3, raw4);
        store_central_sums(c, *this, dim, stores, out2, out3, out4);
    }
};

template <typename T, typename Ptr>
struct central_moment_func_fast_base : expanded_orders {
    static constexpr const char* estimate = "central_moment";
    using expanded_orders::expanded_orders;

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores, Ptr mean,
                    Ptr raw2, Ptr raw3, Ptr raw4, Ptr out2, Ptr out3, Ptr out4) const {
        const T weight = total_weight(tmp);
        const power_totals<T> raw(tmp, dim);
        const central_expansion<T> c(raw, weight);
        store_raw_moments(raw, weight, c.mean(), *this, dim, stores, mean, raw2, raw3, raw4);
        store_central_moments(c, *this, weight, total_square_weight(tmp), dim, stores, out2, out3, out4);
    }
};

/** \brief The arrays of an extended central functor under the arithmetic of \p Base. */
template <typename T, template <typename, typename> class Base>
struct central_func : Base<T, T*> {
    using element_type = T;
    using base = Base<T, T*>;
    static constexpr bool usm = true;

    central_func(T* mean_out, T* raw2_out, T* raw3_out, T* raw4_out, T* second, T* third, T* fourth)
        : base(third != nullptr, fourth != nullptr), mean(mean_out), raw2(raw2_out), raw3(raw3_out),
          raw4(raw4_out), out2(second), out3(third), out4(fourth) {}

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, bool stores = true) const {
        base::operator()(tmp, dim, stores, mean, raw2, raw3, raw4, out2, out3, out4);
    }

    T* mean;
    T* raw2;
    T* raw3;
    T* raw4;
    T* out2;
    T* out3;
    T* out4;
};

template <typename T>
struct central_sum_func_fast<T, true> : central_func<T, central_sum_func_fast_base> {
    using central_func<T, central_sum_func_fast_base>::central_func;
};

template <typename T>
struct central_moment_func_fast<T, true> : central_func<T, central_moment_func_fast_base> {
    using central_func<T, central_moment_func_fast_base>::central_func;
};

} // namespace aurelo::qtx::stats::detail::gpu::ex
