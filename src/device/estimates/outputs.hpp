/**
 * \file outputs.hpp
 * \brief Outputs of functors: binding on the host, stores on the device.
 */
#pragma once

#include "../storage.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief An output of `n_dims` elements as a functor holds it. */
template <typename T, bool is_usm>
using output_of = array_of<T, is_usm, sycl::access_mode::read_write>;

/** \brief An output that may be absent; \p spare stands in for it, since an accessor cannot stand empty. */
template <typename T>
sycl::buffer<T, 1>& present_or(sycl::buffer<T, 1>& output, sycl::buffer<T, 1>& spare) {
    return output.size() != 0 ? output : spare;
}

/** \brief Stores a result. */
template <typename T, sycl::access_mode mode>
void store(const sycl::accessor<T, 1, mode, sycl::target::device>& output, std::size_t d, T value) {
    output[d] = value;
}

/** \brief Stores a result; a null pointer, which an offloaded task may leave, takes none. */
template <typename T>
void store(T* output, std::size_t d, T value) {
    if (output != nullptr) {
        output[d] = value;
    }
}

} // namespace aurelo::qtx::stats::detail::gpu
