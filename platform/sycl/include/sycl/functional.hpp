#pragma once

#include <type_traits>

namespace sycl {

template <typename T = void>
struct plus {
    constexpr T operator()(const T& a, const T& b) const { return a + b; }
};
template <>
struct plus<void> {
    template <typename T>
    constexpr T operator()(const T& a, const T& b) const {
        return a + b;
    }
};

template <typename T = void>
struct minimum {
    constexpr T operator()(const T& a, const T& b) const { return b < a ? b : a; }
};
template <>
struct minimum<void> {
    template <typename T>
    constexpr T operator()(const T& a, const T& b) const {
        return b < a ? b : a;
    }
};

template <typename T = void>
struct maximum {
    constexpr T operator()(const T& a, const T& b) const { return a < b ? b : a; }
};
template <>
struct maximum<void> {
    template <typename T>
    constexpr T operator()(const T& a, const T& b) const {
        return a < b ? b : a;
    }
};

namespace detail {
template <typename Op>
struct is_group_operator : std::false_type {};
template <typename T>
struct is_group_operator<plus<T>> : std::true_type {};
template <typename T>
struct is_group_operator<minimum<T>> : std::true_type {};
template <typename T>
struct is_group_operator<maximum<T>> : std::true_type {};
} // namespace detail

} // namespace sycl
