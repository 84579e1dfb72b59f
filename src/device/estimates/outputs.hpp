/**
 * \file outputs.hpp
 * \brief Outputs of functors: binding on the host, stores on the device.
 *
 * All work-items of the last group evaluate a functor on the same totals; the one that has `stores` set
 * stores.
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

/** \brief Stores a result if \p stores. */
template <typename T, sycl::access_mode mode>
void store_if(bool stores, const sycl::accessor<T, 1, mode, sycl::target::device>& output, std::size_t d,
              T value) {
    if (stores) {
        output[d] = value;
    }
}

/** \brief The same; a null pointer, which an offloaded task may leave, takes no store. */
template <typename T>
void store_if(bool stores, T* output, std::size_t d, T value) {
    if (stores && output != nullptr) {
        output[d] = value;
    }
}

} // namespace aurelo::qtx::stats::detail::gpu
