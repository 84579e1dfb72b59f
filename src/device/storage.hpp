/**
 * \file storage.hpp
 * \brief How functors and kernels hold arrays in the two forms: accessors on buffers, or USM pointers.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <type_traits>

namespace aurelo::qtx::stats::detail::gpu {

template <typename T, sycl::access_mode mode>
using device_accessor = sycl::accessor<T, 1, mode, sycl::target::device>;

/** \brief An array of device memory as a kernel holds it. */
template <typename T, bool is_usm, sycl::access_mode mode>
using array_of = std::conditional_t<is_usm, T*, device_accessor<T, mode>>;

/** \brief The same array as the host hands it over. */
template <typename T, bool is_usm>
using array_argument = std::conditional_t<is_usm, T*, sycl::buffer<T, 1>&>;

/** \brief An accessor needs at least one element, so this buffer is bound where an array is absent. Never written. */
template <typename T>
sycl::buffer<T, 1> placeholder_buffer() {
    return sycl::buffer<T, 1>(sycl::range<1>(1));
}

/**
 * \brief A member that only some instances of a class template have. Empty when absent; \p tag makes each empty type
 * distinct, so that several of them share one address.
 */
template <int tag>
struct absent {
    constexpr absent() = default;
    template <typename... Values>
    explicit constexpr absent(const Values&...) {}
};
template <bool present, typename Member, int tag>
using optional_member = std::conditional_t<present, Member, absent<tag>>;

} // namespace aurelo::qtx::stats::detail::gpu
