/**
 * \file kernel_layout.hpp
 * \brief Where the fields of kernel arguments lie.
 *
 * A kernel object is filled by the host's compiler and read by the device's. This list is compiled by both,
 * so that a class that they lay out differently does not get past either of them.
 */
#pragma once

#include "../dataset_view.hpp"
#include "../sum_totals.hpp"
#include "central_funcs.hpp"
#include "extended_funcs.hpp"
#include "raw_funcs.hpp"
#include "shape_funcs.hpp"

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

// Functors with flags in a base are no standard-layout classes; both compilers support offsetof for them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

template <typename T>
struct kernel_layout {
    static constexpr std::size_t access = sizeof(device_accessor<T, sycl::access_mode::read>);
    static constexpr std::size_t words = 8;

    using pointers = dataset_helper<T, layout::by_dimension, true, true>;
    static_assert(offsetof(pointers, n_dims) == 0 && offsetof(pointers, n_observations) == 8);
    static_assert(offsetof(pointers, layout) == 16 && offsetof(pointers, observations) == 24);
    static_assert(offsetof(pointers, weights) == 32 && offsetof(pointers, indices) == 40);
    static_assert(offsetof(pointers, has_weights) == 48 && offsetof(pointers, has_indices) == 49);

    using buffers = dataset_helper<T, layout::by_dimension, false, true>;
    static_assert(offsetof(buffers, observations) == 24 && offsetof(buffers, weights) == 24 + access);
    static_assert(offsetof(buffers, indices) == 24 + 2 * access &&
                  offsetof(buffers, has_weights) == 24 + 3 * access);
    static_assert(offsetof(buffers, has_indices) == 25 + 3 * access);

    using plain = sum_tmp_helper<T, true, false>;
    static_assert(offsetof(plain, sums) == 0 && offsetof(plain, weight_sums) == access);
    static_assert(offsetof(plain, weight_square_sums) == 2 * access &&
                  offsetof(plain, has_order2) == 3 * access);
    static_assert(offsetof(plain, has_weights) == 3 * access + 3);
    static_assert(offsetof(plain, block_stride) == 3 * access + words);
    static_assert(offsetof(plain, n_observations) == 3 * access + 2 * words);
    static_assert(offsetof(plain, slot_order2) == 3 * access + 3 * words);
    static_assert(offsetof(plain, slot_weight_square) == 3 * access + 7 * words);

    using about_mean = sum_tmp_helper<T, true, true>;
    static_assert(offsetof(about_mean, mean) == access &&
                  offsetof(about_mean, weight_sums) == access + words);
    static_assert(offsetof(about_mean, has_order3) == 3 * access + words);
    static_assert(offsetof(about_mean, has_weights) == 3 * access + words + 2);
    static_assert(offsetof(about_mean, block_stride) == 3 * access + 2 * words);
    static_assert(offsetof(about_mean, slot_order3) == 3 * access + 4 * words);
    static_assert(offsetof(about_mean, slot_weight_square) == 3 * access + 7 * words);

    using raw = raw_sum_func_fast<T, true>;
    static_assert(offsetof(raw, has_order2) == 0 && offsetof(raw, has_order4) == 2);
    static_assert(offsetof(raw, out1) == words && offsetof(raw, out4) == 4 * words);
    using raw_buffers = raw_moment_func_fast<T, false>;
    static_assert(offsetof(raw_buffers, out1) == words && offsetof(raw_buffers, out4) == words + 3 * access);

    using central = central_sum_func_fast<T, true>;
    static_assert(offsetof(central, has_order3) == 0 && offsetof(central, has_order4) == 1);
    static_assert(offsetof(central, out2) == words && offsetof(central, out4) == 3 * words);
    using central_buffers = central_moment_func_user_mean<T, false>;
    static_assert(offsetof(central_buffers, out2) == words &&
                  offsetof(central_buffers, out4) == words + 2 * access);

    using shape = kurtosis_func_fast<T, false>;
    static_assert(offsetof(shape, out) == 0 && sizeof(shape) == access);

    using extended_shape = ex::kurtosis_func_fast<T, true>;
    static_assert(offsetof(extended_shape, mean) == 0 && offsetof(extended_shape, out) == 4 * words);
    using extended_central = ex::central_moment_func_fast<T, true>;
    static_assert(offsetof(extended_central, has_order3) == 0 && offsetof(extended_central, mean) == words);
    static_assert(offsetof(extended_central, out4) == 7 * words);
};

#pragma GCC diagnostic pop

// To ask for a class's size instantiates it, and with it the assertions.
static_assert(sizeof(kernel_layout<float>) != 0 && sizeof(kernel_layout<double>) != 0);

} // namespace aurelo::qtx::stats::detail::gpu
