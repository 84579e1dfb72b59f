/**
 * \file raw_funcs.hpp
 * \brief Raw sums and raw moments on a GPU device.
 */
#pragma once

#include "outputs.hpp"
#include "read_totals.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief The orders that the outputs of a raw functor ask for beside the first. */
struct raw_orders {
    using orders = chosen_orders;
    static constexpr bool user_mean = false;

    raw_orders(bool order2, bool order3, bool order4)
        : has_order2(order2), has_order3(order3), has_order4(order4) {}

    order_flags required_orders() const { return {has_order2, has_order3, has_order4}; }

    bool has_order2;
    bool has_order3;
    bool has_order4;
};

/** \brief The totals themselves. */
template <typename T, typename Ptr>
struct raw_sum_func_fast_base : raw_orders {
    static constexpr const char* estimate = "raw_sum";
    using raw_orders::raw_orders;

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, bool stores,
                    const Ptr& out1, const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        const power_totals<T> s(tmp, dim);
        store_if(stores, out1, dim, s.s1);
        store_if(stores && has_order2, out2, dim, s.s2);
        store_if(stores && has_order3, out3, dim, s.s3);
        store_if(stores && has_order4, out4, dim, s.s4);
    }
};

/** \brief The totals divided by W, each on its own. */
template <typename T, typename Ptr>
struct raw_moment_func_fast_base : raw_orders {
    static constexpr const char* estimate = "raw_moment";
    using raw_orders::raw_orders;

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, bool stores,
                    const Ptr& out1, const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        const power_totals<T> s(tmp, dim);
        const T weight = total_weight(tmp);
        store_if(stores, out1, dim, s.s1 / weight);
        store_if(stores && has_order2, out2, dim, s.s2 / weight);
        store_if(stores && has_order3, out3, dim, s.s3 / weight);
        store_if(stores && has_order4, out4, dim, s.s4 / weight);
    }
};

/**
 * \brief Outputs of orders 1 to 4 under the arithmetic of \p Base. In the buffer form spares stand in for
 * absent outputs; in the USM form an absent output is null.
 */
template <typename T, bool is_usm, template <typename, typename> class Base>
struct raw_func : Base<T, output_of<T, is_usm>> {
    using element_type = T;
    using base = Base<T, output_of<T, is_usm>>;
    static constexpr bool usm = is_usm;

    raw_func(sycl::buffer<T, 1>& first, sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third,
             sycl::buffer<T, 1>& fourth, sycl::buffer<T, 1>& spare2, sycl::buffer<T, 1>& spare3,
             sycl::buffer<T, 1>& spare4) requires(!is_usm)
        : base(second.size() != 0, third.size() != 0, fourth.size() != 0), out1(first),
          out2(present_or(second, spare2)), out3(present_or(third, spare3)),
          out4(present_or(fourth, spare4)) {}

    raw_func(T* first, T* second, T* third, T* fourth) requires is_usm
        : base(second != nullptr, third != nullptr, fourth != nullptr),
          out1(first),
          out2(second),
          out3(third),
          out4(fourth) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        handler.require(out1);
        handler.require(out2);
        handler.require(out3);
        handler.require(out4);
    }

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim,
                    bool stores = true) const {
        base::operator()(tmp, dim, stores, out1, out2, out3, out4);
    }

    output_of<T, is_usm> out1;
    output_of<T, is_usm> out2;
    output_of<T, is_usm> out3;
    output_of<T, is_usm> out4;
};

template <typename T, bool is_usm>
struct raw_sum_func_fast : raw_func<T, is_usm, raw_sum_func_fast_base> {
    using raw_func<T, is_usm, raw_sum_func_fast_base>::raw_func;
};

template <typename T, bool is_usm>
struct raw_moment_func_fast : raw_func<T, is_usm, raw_moment_func_fast_base> {
    using raw_func<T, is_usm, raw_moment_func_fast_base>::raw_func;
};

} // namespace aurelo::qtx::stats::detail::gpu
