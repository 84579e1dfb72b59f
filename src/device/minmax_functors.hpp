/**
 * \file minmax_functors.hpp
 * \brief The estimates max, min and min_max on a GPU device: their reductions and outputs.
 */
#pragma once

#include "storage.hpp"

#include <sycl/sycl.hpp>

#include <concepts>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Minimum. The comparison has the result on its left, so that a NaN gives the neutral value. */
template <typename T>
struct minimum_reduction {
    using operation = sycl::minimum<T>;
    static constexpr T neutral() { return std::numeric_limits<T>::max(); }
    static constexpr T bound(T result) { return result < neutral() ? result : neutral(); }
};

/** \brief Maximum, likewise. */
template <typename T>
struct maximum_reduction {
    using operation = sycl::maximum<T>;
    static constexpr T neutral() { return std::numeric_limits<T>::lowest(); }
    static constexpr T bound(T result) { return result > neutral() ? result : neutral(); }
};

/** \brief The reductions of a functor, in the order of its outputs. */
template <typename... Reductions>
struct reduction_list {
    static constexpr std::size_t size = sizeof...(Reductions);
};

/** \brief Calls `visit(index, reduction)` for each, with the index as a type. */
template <typename... Reductions, typename Visit>
void for_each_reduction(reduction_list<Reductions...>, const Visit& visit) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (visit(std::integral_constant<std::size_t, I>{}, Reductions{}), ...);
    }
    (std::index_sequence_for<Reductions...>{});
}

template <typename T, bool is_usm>
using minmax_output = array_of<T, is_usm, sycl::access_mode::write>;

/** \brief Minimum of every dimension. */
template <typename T, bool is_usm>
struct min_func_fast {
    using element_type = T;
    using reductions = reduction_list<minimum_reduction<T>>;
    static constexpr bool usm = is_usm;
    static constexpr const char* estimate = "min";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    template <std::size_t>
    const minmax_output<T, is_usm>& output() const {
        return out;
    }

    minmax_output<T, is_usm> out;
};

/** \brief Maximum of every dimension. */
template <typename T, bool is_usm>
struct max_func_fast {
    using element_type = T;
    using reductions = reduction_list<maximum_reduction<T>>;
    static constexpr bool usm = is_usm;
    static constexpr const char* estimate = "max";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    template <std::size_t>
    const minmax_output<T, is_usm>& output() const {
        return out;
    }

    minmax_output<T, is_usm> out;
};

/** \brief Minimum and maximum of every dimension in one pass. */
template <typename T, bool is_usm>
struct min_max_func_fast {
    using element_type = T;
    using reductions = reduction_list<minimum_reduction<T>, maximum_reduction<T>>;
    static constexpr bool usm = is_usm;
    static constexpr const char* estimate = "min_max";

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        handler.require(min_out);
        handler.require(max_out);
    }

    template <std::size_t i>
    const minmax_output<T, is_usm>& output() const {
        if constexpr (i == 0) {
            return min_out;
        } else {
            return max_out;
        }
    }

    minmax_output<T, is_usm> min_out;
    minmax_output<T, is_usm> max_out;
};

/**
 * \brief What the kernels of extrema take: one or two `reductions`, and `output<i>()`, where results of reduction i go.
 *
 * Members beside them: `element_type`, the type of data and results; `usm`, whether data and outputs are pointers;
 * `estimate`, the name that errors use. A functor of buffers has `set_requirements(handler)`.
 */
template <typename Functor>
concept extremum_functor = std::is_arithmetic_v<typename Functor::element_type> &&
                           (Functor::reductions::size == 1 || Functor::reductions::size == 2) &&
                           requires(const Functor& functor) {
    { Functor::estimate } -> std::convertible_to<const char*>;
    {functor.template output<0>()};
    { Functor::usm } -> std::convertible_to<bool>;
};

} // namespace aurelo::qtx::stats::detail::gpu
