/**
 * \file central_funcs.hpp
 * \brief Central sums and central moments on a GPU device, by expansion of raw totals or about a caller's
 * mean.
 */
#pragma once

#include "central_stores.hpp"
#include "outputs.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief What central outputs ask for when they are expanded: order 4 needs the sum of third powers, too. */
struct expanded_orders {
    using orders = chosen_orders;
    static constexpr bool user_mean = false;

    expanded_orders(bool order3, bool order4) : has_order3(order3), has_order4(order4) {}

    order_flags required_orders() const { return {true, has_order3 || has_order4, has_order4}; }

    bool has_order3;
    bool has_order4;
};

/** \brief What central outputs ask for about a caller's mean: just themselves. */
struct deviation_orders {
    using orders = chosen_orders;
    static constexpr bool user_mean = true;

    deviation_orders(bool order3, bool order4) : has_order3(order3), has_order4(order4) {}

    order_flags required_orders() const { return {false, has_order3, has_order4}; }

    bool has_order3;
    bool has_order4;
};

template <typename T, typename Ptr>
struct central_sum_func_fast_base : expanded_orders {
    static constexpr const char* estimate = "central_sum";
    using expanded_orders::expanded_orders;

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, bool stores,
                    const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        const central_expansion<T> c(power_totals<T>(tmp, dim), total_weight(tmp));
        store_central_sums(c, *this, dim, stores, out2, out3, out4);
    }
};

template <typename T, typename Ptr>
struct central_moment_func_fast_base : expanded_orders {
    static constexpr const char* estimate = "central_moment";
    using expanded_orders::expanded_orders;

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, bool stores,
                    const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        const T weight = total_weight(tmp);
        const central_expansion<T> c(power_totals<T>(tmp, dim), weight);
        store_central_moments(c, *this, weight, total_square_weight(tmp), dim, stores, out2, out3, out4);
    }
};

template <typename T, typename Ptr>
struct central_sum_func_user_mean_base : deviation_orders {
    static constexpr const char* estimate = "central_sum";
    using deviation_orders::deviation_orders;

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim, bool stores,
                    const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        store_central_sums(deviation_totals<T>(tmp, dim), *this, dim, stores, out2, out3, out4);
    }
};

template <typename T, typename Ptr>
struct central_moment_func_user_mean_base : deviation_orders {
    static constexpr const char* estimate = "central_moment";
    using deviation_orders::deviation_orders;

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, true>& tmp, unsigned long dim, bool stores,
                    const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        store_central_moments(deviation_totals<T>(tmp, dim), *this, total_weight(tmp),
                              total_square_weight(tmp), dim, stores, out2, out3, out4);
    }
};

/**
 * \brief Outputs of orders 2 to 4 under the arithmetic of \p Base. In the buffer form spares stand in for
 * absent outputs; in the USM form an absent output is null.
 */
template <typename T, bool is_usm, template <typename, typename> class Base>
struct central_func : Base<T, output_of<T, is_usm>> {
    using element_type = T;
    using base = Base<T, output_of<T, is_usm>>;
    static constexpr bool usm = is_usm;

    central_func(sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third, sycl::buffer<T, 1>& fourth,
                 sycl::buffer<T, 1>& spare3, sycl::buffer<T, 1>& spare4) requires(!is_usm)
        : base(third.size() != 0, fourth.size() != 0), out2(second), out3(present_or(third, spare3)),
          out4(present_or(fourth, spare4)) {}

    central_func(T* second, T* third, T* fourth) requires is_usm : base(third != nullptr, fourth != nullptr),
                                                                   out2(second),
                                                                   out3(third),
                                                                   out4(fourth) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        handler.require(out2);
        handler.require(out3);
        handler.require(out4);
    }

    void operator()(const sum_tmp_helper<T, is_usm, base::user_mean>& tmp, unsigned long dim,
                    bool stores = true) const {
        base::operator()(tmp, dim, stores, out2, out3, out4);
    }

    output_of<T, is_usm> out2;
    output_of<T, is_usm> out3;
    output_of<T, is_usm> out4;
};

template <typename T, bool is_usm>
struct central_sum_func_fast : central_func<T, is_usm, central_sum_func_fast_base> {
    using central_func<T, is_usm, central_sum_func_fast_base>::central_func;
};

template <typename T, bool is_usm>
struct central_moment_func_fast : central_func<T, is_usm, central_moment_func_fast_base> {
    using central_func<T, is_usm, central_moment_func_fast_base>::central_func;
};

template <typename T, bool is_usm>
struct central_sum_func_user_mean : central_func<T, is_usm, central_sum_func_user_mean_base> {
    using central_func<T, is_usm, central_sum_func_user_mean_base>::central_func;
};

template <typename T, bool is_usm>
struct central_moment_func_user_mean : central_func<T, is_usm, central_moment_func_user_mean_base> {
    using central_func<T, is_usm, central_moment_func_user_mean_base>::central_func;
};

} // namespace aurelo::qtx::stats::detail::gpu
