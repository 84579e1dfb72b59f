/**
 * \file extended_funcs.hpp
 * \brief Functors of offloaded tasks: an estimate together with the mean and the raw moments that lead to it.
 *
 * Each is a twin of a functor of raw totals, shares its arithmetic to the last bit, and adds stores, whose order is part
 * of the contract: arrays of a task may be the same. Functors are plain records of pointers to `n_dims` elements; a null
 * pointer takes no store.
 */
#pragma once

#include "central_funcs.hpp"
#include "shape_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu::ex {

/**
 * \brief Stores a moment that several groups of a task have in common. On a queue out of order their kernels may run
 * beside each other, and all store the same bits.
 */
template <typename T>
void store_shared(T* output, std::size_t d, T value) {
    store(output, d, value);
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

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim) const {
        const power_totals<T> raw(tmp, dim);
        const T weight = total_weight(tmp);
        const central_expansion<T> c(raw, weight);
        store_shared(mean, dim, c.mean());
        store_shared(raw2, dim, raw.s2 / weight);
        store(out, dim, variation_of(c.order2(), variance_factor(tmp), c.mean()));
    }

    T* mean;
    T* raw2;
    T* out;
};

template <typename T, typename Ptr>
struct skewness_func_fast_base {
    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, Ptr mean, Ptr raw2,
                    Ptr raw3, Ptr out) const {
        const power_totals<T> raw(tmp, dim);
        const T weight = total_weight(tmp);
        const central_expansion<T> c(raw, weight);
        store_shared(mean, dim, c.mean());
        store_shared(raw2, dim, raw.s2 / weight);
        store_shared(raw3, dim, raw.s3 / weight);
        store(out, dim, skewness_of(c, weight, variance_factor(tmp)));
    }
};

template <typename T>
struct skewness_func_fast<T, true> : skewness_func_fast_base<T, T*> {
    using element_type = T;
    using orders = fixed_orders<true, true, false>;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "skewness";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim) const {
        skewness_func_fast_base<T, T*>::operator()(tmp, dim, mean, raw2, raw3, out);
    }

    T* mean;
    T* raw2;
    T* raw3;
    T* out;
};

template <typename T, typename Ptr>
struct kurtosis_func_fast_base {
    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, Ptr mean, Ptr raw2,
                    Ptr raw3, Ptr raw4, Ptr out) const {
        const power_totals<T> raw(tmp, dim);
        const T weight = total_weight(tmp);
        const central_expansion<T> c(raw, weight);
        store_shared(mean, dim, c.mean());
        store_shared(raw2, dim, raw.s2 / weight);
        store_shared(raw3, dim, raw.s3 / weight);
        store_shared(raw4, dim, raw.s4 / weight);
        store(out, dim, kurtosis_of(c, weight, variance_factor(tmp)));
    }
};

template <typename T>
struct kurtosis_func_fast<T, true> : kurtosis_func_fast_base<T, T*> {
    using element_type = T;
    using orders = fixed_orders<true, true, true>;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "kurtosis";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim) const {
        kurtosis_func_fast_base<T, T*>::operator()(tmp, dim, mean, raw2, raw3, raw4, out);
    }

    T* mean;
    T* raw2;
    T* raw3;
    T* raw4;
    T* out;
};

/**
 * \brief Stores mean, raw moments and central results. The raw moment of order 3 follows the central result of order 4,
 * too, whose expansion needs its sum.
 */
template <typename T, typename Ptr>
struct central_stores : central_flags {
    static constexpr bool user_mean = false;

protected:
    /** \param central2 results of orders 2 to 4 as the estimate wants them */
    void store_all(const power_totals<T>& raw, T weight, unsigned long dim, T mean_value, T central2,
                   T central3, T central4, Ptr mean, Ptr raw2, Ptr raw3, Ptr raw4, Ptr out2, Ptr out3,
                   Ptr out4) const {
        store_shared(mean, dim, mean_value);
        store_shared(raw2, dim, raw.s2 / weight);
        store(out2, dim, central2);
        if (has_order3) {
            store_shared(raw3, dim, raw.s3 / weight);
            store(out3, dim, central3);
        }
        if (has_order4) {
            store_shared(raw3, dim, raw.s3 / weight);
            store_shared(raw4, dim, raw.s4 / weight);
            store(out4, dim, central4);
        }
    }
};

template <typename T, typename Ptr>
struct central_sum_func_fast_base : central_stores<T, Ptr> {
    static constexpr const char* estimate = "central_sum";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, Ptr mean, Ptr raw2,
                    Ptr raw3, Ptr raw4, Ptr out2, Ptr out3, Ptr out4) const {
        const power_totals<T> raw(tmp, dim);
        const T weight = total_weight(tmp);
        const central_expansion<T> c(raw, weight);
        this->store_all(raw, weight, dim, c.mean(), c.order2(), c.order3(), c.order4(), mean, raw2, raw3,
                        raw4, out2, out3, out4);
    }
};

template <typename T, typename Ptr>
struct central_moment_func_fast_base : central_stores<T, Ptr> {
    static constexpr const char* estimate = "central_moment";

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim, Ptr mean, Ptr raw2,
                    Ptr raw3, Ptr raw4, Ptr out2, Ptr out3, Ptr out4) const {
        const power_totals<T> raw(tmp, dim);
        const T weight = total_weight(tmp);
        const central_expansion<T> c(raw, weight);
        this->store_all(raw, weight, dim, c.mean(), c.order2() * variance_factor(tmp), c.order3() / weight,
                        c.order4() / weight, mean, raw2, raw3, raw4, out2, out3, out4);
    }
};

/** \brief The arrays of an extended central functor under the arithmetic of \p Base. */
template <typename T, template <typename, typename> class Base>
struct central_func : Base<T, T*> {
    using element_type = T;
    using orders = chosen_orders;
    static constexpr bool usm = true;

    order_flags required_orders() const { return central_orders(*this, false); }

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim) const {
        Base<T, T*>::operator()(tmp, dim, mean, raw2, raw3, raw4, out2, out3, out4);
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
struct central_sum_func_fast<T, true> : central_func<T, central_sum_func_fast_base> {};
template <typename T>
struct central_moment_func_fast<T, true> : central_func<T, central_moment_func_fast_base> {};

/** \brief The record of an extended central functor; a result that is not wanted is null. */
template <typename Functor, typename T>
Functor make_extended_central(T* mean, T* raw2, T* raw3, T* raw4, T* out2, T* out3, T* out4) {
    Functor record{};
    record.has_order3 = out3 != nullptr;
    record.has_order4 = out4 != nullptr;
    record.mean = mean;
    record.raw2 = raw2;
    record.raw3 = raw3;
    record.raw4 = raw4;
    record.out2 = out2;
    record.out3 = out3;
    record.out4 = out4;
    return record;
}

} // namespace aurelo::qtx::stats::detail::gpu::ex
