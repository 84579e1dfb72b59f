/**
 * \file reductions.hpp
 * \brief Minimum and maximum as values: neutral element, group operation and bound.
 */
#pragma once

#include <sycl/sycl.hpp>

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

/** \brief One value for each of one or two reductions. */
template <typename Value, std::size_t n>
struct per_reduction;

template <typename Value>
struct per_reduction<Value, 1> {
    Value first;

    template <std::size_t i>
    const Value& get() const {
        return first;
    }
};

template <typename Value>
struct per_reduction<Value, 2> {
    Value first;
    Value second;

    template <std::size_t i>
    const Value& get() const {
        if constexpr (i == 0) {
            return first;
        } else {
            return second;
        }
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
