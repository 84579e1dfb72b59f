/**
 * \file central_funcs.hpp
 * \brief Central sums and central moments on a GPU device, by expansion of raw totals or about a caller's mean.
 *
 * A functor of buffers holds accessors; \p spare3 and \p spare4 of its constructor are bound where an output is absent
 * and never written. A functor of pointers is a plain record.
 */
#pragma once

#include "raw_funcs.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief The orders that a central functor stores beside the second. */
struct central_flags {
    bool has_order3;
    bool has_order4;
};

/** \brief Central sums as they are, from totals of either kind. */
template <typename T, typename Ptr>
struct central_sum_stores : central_flags {
    static constexpr const char* estimate = "central_sum";

    template <bool is_usm, bool about_mean>
    void operator()(const sum_tmp_helper<T, is_usm, about_mean>& tmp, unsigned long dim, const Ptr& out2,
                    const Ptr& out3, const Ptr& out4) const {
        const auto c = central_totals(tmp, dim);
        store(out2, dim, c.order2());
        if (has_order3) {
            store(out3, dim, c.order3());
        }
        if (has_order4) {
            store(out4, dim, c.order4());
        }
    }
};

/** \brief Order 2 with the corrected denominator, orders 3 and 4 with the plain total weight. */
template <typename T, typename Ptr>
struct central_moment_stores : central_flags {
    static constexpr const char* estimate = "central_moment";

    template <bool is_usm, bool about_mean>
    void operator()(const sum_tmp_helper<T, is_usm, about_mean>& tmp, unsigned long dim, const Ptr& out2,
                    const Ptr& out3, const Ptr& out4) const {
        const T weight = total_weight(tmp);
        const auto c = central_totals(tmp, dim);
        store(out2, dim, c.order2() * variance_factor(tmp));
        if (has_order3) {
            store(out3, dim, c.order3() / weight);
        }
        if (has_order4) {
            store(out4, dim, c.order4() / weight);
        }
    }
};

template <typename T, typename Ptr>
struct central_sum_func_fast_base : central_sum_stores<T, Ptr> {
    static constexpr bool user_mean = false;
};
template <typename T, typename Ptr>
struct central_moment_func_fast_base : central_moment_stores<T, Ptr> {
    static constexpr bool user_mean = false;
};
template <typename T, typename Ptr>
struct central_sum_func_user_mean_base : central_sum_stores<T, Ptr> {
    static constexpr bool user_mean = true;
};
template <typename T, typename Ptr>
struct central_moment_func_user_mean_base : central_moment_stores<T, Ptr> {
    static constexpr bool user_mean = true;
};

/** \brief Totals that central results need. An expansion of order 4 takes the sum of third powers, too. */
constexpr order_flags central_orders(const central_flags& flags, bool user_mean) {
    return {!user_mean, flags.has_order3 || (flags.has_order4 && !user_mean), flags.has_order4};
}

/** \brief Outputs of orders 2 to 4 under the arithmetic of \p Base. */
template <typename T, bool is_usm, template <typename, typename> class Base>
struct central_func;

template <typename T, template <typename, typename> class Base>
struct central_func<T, false, Base> : Base<T, output_of<T, false>> {
    using base = Base<T, output_of<T, false>>;
    using element_type = T;
    using orders = chosen_orders;
    static constexpr bool usm = false;

    central_func(sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third, sycl::buffer<T, 1>& fourth,
                 sycl::buffer<T, 1>& spare3, sycl::buffer<T, 1>& spare4)
        : base{{{third.size() != 0, fourth.size() != 0}}}, out2(second), out3(present_or(third, spare3)),
          out4(present_or(fourth, spare4)) {}

    order_flags required_orders() const { return central_orders(*this, base::user_mean); }

    void set_requirements(sycl::handler& handler) const {
        handler.require(out2);
        handler.require(out3);
        handler.require(out4);
    }

    void operator()(const sum_tmp_helper<T, false, base::user_mean>& tmp, unsigned long dim) const {
        base::operator()(tmp, dim, out2, out3, out4);
    }

    output_of<T, false> out2;
    output_of<T, false> out3;
    output_of<T, false> out4;
};

template <typename T, template <typename, typename> class Base>
struct central_func<T, true, Base> : Base<T, T*> {
    using base = Base<T, T*>;
    using element_type = T;
    using orders = chosen_orders;
    static constexpr bool usm = true;

    order_flags required_orders() const { return central_orders(*this, base::user_mean); }

    void operator()(const sum_tmp_helper<T, true, base::user_mean>& tmp, unsigned long dim) const {
        base::operator()(tmp, dim, out2, out3, out4);
    }

    T* out2;
    T* out3;
    T* out4;
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

/** \brief The record of a central functor of pointers; an absent output is null. */
template <typename Functor, typename T>
Functor make_central(T* out2, T* out3, T* out4) {
    Functor record{};
    record.has_order3 = out3 != nullptr;
    record.has_order4 = out4 != nullptr;
    record.out2 = out2;
    record.out3 = out3;
    record.out4 = out4;
    return record;
}

} // namespace aurelo::qtx::stats::detail::gpu
