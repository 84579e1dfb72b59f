#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <sycl/detail/local_pool.hpp>
#include <sycl/functional.hpp>

#include <limits>
#include <type_traits>

namespace sycl::detail {

/// The operator of a group algorithm for vectors of its type.
template <typename Op>
struct operator_of_vectors;
template <typename T>
struct operator_of_vectors<plus<T>> {
    using type = plus<>;
};
template <typename T>
struct operator_of_vectors<minimum<T>> {
    using type = minimum<>;
};
template <typename T>
struct operator_of_vectors<maximum<T>> {
    using type = maximum<>;
};

/// What changes no value that it is combined with.
template <typename Op, typename T>
constexpr T neutral() {
    using limits = std::numeric_limits<T>;
    if constexpr (std::is_same_v<typename operator_of_vectors<Op>::type, plus<>>) {
        return -T(0);
    } else if constexpr (std::is_same_v<typename operator_of_vectors<Op>::type, minimum<>>) {
        return limits::has_infinity ? limits::infinity() : limits::max();
    } else {
        return limits::has_infinity ? -limits::infinity() : limits::lowest();
    }
}

/**
 * Consecutive values of a group as one vector. Processors' compilers keep what a loop carries in memory, as the
 * work-items of a group take turns; a step that carries a vector costs little more than one that carries a number.
 */
template <typename T>
class group_vector {
public:
    /// \param values at a multiple of group_vector_size
    static group_vector at(const T* values) {
        return group_vector(*reinterpret_cast<const group_type*>(values));
    }

    template <typename Op>
    static group_vector neutral() {
        return group_vector(group_type(detail::neutral<Op, T>()));
    }

    template <typename Op>
    group_vector with(const group_vector& other) const {
        return group_vector(apply<Op>(values_, other.values_));
    }

    /// All of them in one, by halves.
    template <typename Op>
    T combined() const {
        const auto eight = apply<Op>(values_.lo, values_.hi);
        const auto four = apply<Op>(eight.lo, eight.hi);
        const auto two = apply<Op>(four.lo, four.hi);
        return apply<Op>(T(two.x), T(two.y));
    }

private:
    using group_type = T __attribute__((ext_vector_type(group_vector_size)));

    explicit group_vector(group_type values) : values_(values) {}

    template <typename Op, typename V>
    static V apply(V a, V b) {
        return typename operator_of_vectors<Op>::type{}(a, b);
    }

    group_type values_;
};

} // namespace sycl::detail

#endif
