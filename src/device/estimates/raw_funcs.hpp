/**
 * \file raw_funcs.hpp
 * \brief Mean, raw sums and raw moments on a GPU device.
 *
 * A functor of buffers holds accessors; \p spare2 to \p spare4 of its constructor are bound where an output is absent
 * and never written. A functor of pointers is a plain record.
 */
#pragma once

#include "formulas.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief An output of `n_dims` elements as a functor holds it. */
template <typename T, bool is_usm>
using output_of = array_of<T, is_usm, sycl::access_mode::read_write>;

/** \brief Stores a result. A null pointer, which an offloaded task may leave, takes none. */
template <typename T>
void store(T* output, std::size_t d, T value) {
    if (output != nullptr) {
        output[d] = value;
    }
}
template <typename T, sycl::access_mode mode>
void store(const device_accessor<T, mode>& output, std::size_t d, T value) {
    output[d] = value;
}

/** \brief \p output, or the buffer that is bound in its place if it is absent. */
template <typename T>
sycl::buffer<T, 1>& present_or(sycl::buffer<T, 1>& output, sycl::buffer<T, 1>& spare) {
    return output.size() != 0 ? output : spare;
}

/** \brief S1 / W. */
template <typename T, bool is_usm>
struct mean_func {
    using element_type = T;
    using orders = fixed_orders<false, false, false>;
    static constexpr bool usm = is_usm;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "mean";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim) const {
        store(out, dim, T(tmp.sums[dim] / total_weight(tmp)));
    }

    output_of<T, is_usm> out;
};

/** \brief The totals themselves. */
template <typename T, typename Ptr>
struct raw_sum_func_fast_base {
    static constexpr const char* estimate = "raw_sum";

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, const Ptr& out1,
                    const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        const power_totals<T> s(tmp, dim);
        store(out1, dim, s.s1);
        if (has_order2) {
            store(out2, dim, s.s2);
        }
        if (has_order3) {
            store(out3, dim, s.s3);
        }
        if (has_order4) {
            store(out4, dim, s.s4);
        }
    }

    bool has_order2;
    bool has_order3;
    bool has_order4;
};

/** \brief The totals divided by W, each on its own. */
template <typename T, typename Ptr>
struct raw_moment_func_fast_base {
    static constexpr const char* estimate = "raw_moment";

    template <bool is_usm>
    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim, const Ptr& out1,
                    const Ptr& out2, const Ptr& out3, const Ptr& out4) const {
        const power_totals<T> s(tmp, dim);
        const T weight = total_weight(tmp);
        store(out1, dim, s.s1 / weight);
        if (has_order2) {
            store(out2, dim, s.s2 / weight);
        }
        if (has_order3) {
            store(out3, dim, s.s3 / weight);
        }
        if (has_order4) {
            store(out4, dim, s.s4 / weight);
        }
    }

    bool has_order2;
    bool has_order3;
    bool has_order4;
};

/** \brief Outputs of orders 1 to 4 under the arithmetic of \p Base. */
template <typename T, bool is_usm, template <typename, typename> class Base>
struct raw_func;

template <typename T, template <typename, typename> class Base>
struct raw_func<T, false, Base> : Base<T, output_of<T, false>> {
    using element_type = T;
    using orders = chosen_orders;
    static constexpr bool usm = false;
    static constexpr bool user_mean = false;

    raw_func(sycl::buffer<T, 1>& first, sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third,
             sycl::buffer<T, 1>& fourth, sycl::buffer<T, 1>& spare2, sycl::buffer<T, 1>& spare3,
             sycl::buffer<T, 1>& spare4)
        : Base<T, output_of<T, false>>{second.size() != 0, third.size() != 0, fourth.size() != 0},
          out1(first), out2(present_or(second, spare2)), out3(present_or(third, spare3)),
          out4(present_or(fourth, spare4)) {}

    order_flags required_orders() const { return {this->has_order2, this->has_order3, this->has_order4}; }

    void set_requirements(sycl::handler& handler) const {
        handler.require(out1);
        handler.require(out2);
        handler.require(out3);
        handler.require(out4);
    }

    void operator()(const sum_tmp_helper<T, false, false>& tmp, unsigned long dim) const {
        Base<T, output_of<T, false>>::operator()(tmp, dim, out1, out2, out3, out4);
    }

    output_of<T, false> out1;
    output_of<T, false> out2;
    output_of<T, false> out3;
    output_of<T, false> out4;
};

template <typename T, template <typename, typename> class Base>
struct raw_func<T, true, Base> : Base<T, T*> {
    using element_type = T;
    using orders = chosen_orders;
    static constexpr bool usm = true;
    static constexpr bool user_mean = false;

    order_flags required_orders() const { return {this->has_order2, this->has_order3, this->has_order4}; }

    void operator()(const sum_tmp_helper<T, true, false>& tmp, unsigned long dim) const {
        Base<T, T*>::operator()(tmp, dim, out1, out2, out3, out4);
    }

    T* out1;
    T* out2;
    T* out3;
    T* out4;
};

template <typename T, bool is_usm>
struct raw_sum_func_fast : raw_func<T, is_usm, raw_sum_func_fast_base> {
    using raw_func<T, is_usm, raw_sum_func_fast_base>::raw_func;
};

template <typename T, bool is_usm>
struct raw_moment_func_fast : raw_func<T, is_usm, raw_moment_func_fast_base> {
    using raw_func<T, is_usm, raw_moment_func_fast_base>::raw_func;
};

/** \brief The record of a raw functor of pointers; an absent output is null. */
template <typename Functor, typename T>
Functor make_raw(T* out1, T* out2, T* out3, T* out4) {
    Functor record{};
    record.has_order2 = out2 != nullptr;
    record.has_order3 = out3 != nullptr;
    record.has_order4 = out4 != nullptr;
    record.out1 = out1;
    record.out2 = out2;
    record.out3 = out3;
    record.out4 = out4;
    return record;
}

} // namespace aurelo::qtx::stats::detail::gpu
