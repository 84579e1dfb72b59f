/**
 * \file minmax_steps.hpp
 * \brief Steps of the min/max half: each makes one command and returns its event.
 */
#pragma once

#include "launch.hpp"
#include "minmax_kernels.hpp"

#include <sycl/sycl.hpp>

#include <cstdint>
#include <type_traits>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Arrays of partial results as the host holds them: buffers, or USM pointers. */
template <typename Functor>
using minmax_arrays = per_reduction<std::conditional_t<Functor::usm, typename Functor::element_type*,
                                                       sycl::buffer<typename Functor::element_type, 1>>,
                                    Functor::reductions::size>;

/** \brief One array of partial results as the kernel of \p handler holds it. */
template <sycl::access_mode mode, typename T>
device_accessor<T, mode> partial_array(sycl::handler& handler, sycl::buffer<T, 1> array) {
    if constexpr (mode == sycl::access_mode::write) {
        // Every row that a later pass reads is written in full.
        return device_accessor<T, mode>(array, handler, sycl::property_list{sycl::no_init});
    } else {
        return device_accessor<T, mode>(array, handler);
    }
}
template <sycl::access_mode mode, typename T>
T* partial_array(sycl::handler&, T* array) {
    return array;
}

/** \brief All arrays of partial results, likewise. */
template <typename Functor, sycl::access_mode mode>
minmax_partials<Functor, mode> partial_arrays(sycl::handler& handler, const minmax_arrays<Functor>& arrays) {
    if constexpr (Functor::reductions::size == 1) {
        return {partial_array<mode>(handler, arrays.first)};
    } else {
        return {partial_array<mode>(handler, arrays.first), partial_array<mode>(handler, arrays.second)};
    }
}

/** \brief The local array of reduction \p i, or its absence. */
template <typename Functor, std::size_t i>
minmax_local<Functor, i> make_local(sycl::handler& handler, std::uint64_t local_size) {
    if constexpr (std::is_same_v<minmax_local<Functor, i>, absent<i>>) {
        return {};
    } else {
        return minmax_local<Functor, i>(sycl::range<1>(local_size), handler);
    }
}

/** \brief The group size as a kernel that stages elements holds it, or its absence. */
template <typename Functor>
auto staged_size(std::uint64_t local_size) {
    if constexpr (Functor::usm) {
        return absent<2>{};
    } else {
        return std::size_t{local_size};
    }
}

template <typename T, layout L, typename Functor, bool index_64>
sycl::event minmax_single_step(sycl::queue& queue, dataset_helper<T, L, Functor::usm, index_64>& helper,
                               Functor& functor, std::uint64_t local_size) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        using kernel = minmax_kernel_single_step<Functor, is_row_layout<L>, index_64>;
        const kernel body{helper, functor, make_local<Functor, 0>(handler, local_size),
                          make_local<Functor, 1>(handler, local_size), staged_size<Functor>(local_size)};
        launch(handler, body, 1, local_size);
    });
}

template <typename T, layout L, typename Functor, bool index_64>
sycl::event minmax_first_step(sycl::queue& queue, dataset_helper<T, L, Functor::usm, index_64>& helper,
                              Functor& functor, const minmax_arrays<Functor>& partials,
                              std::uint64_t local_size, std::uint64_t n_groups, std::uint64_t tail) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        using kernel = minmax_kernel_first_step<Functor, is_row_layout<L>, index_64>;
        const kernel body{helper,
                          n_groups,
                          tail,
                          local_size,
                          partial_arrays<Functor, sycl::access_mode::write>(handler, partials),
                          make_local<Functor, 0>(handler, local_size),
                          make_local<Functor, 1>(handler, local_size)};
        launch(handler, body, n_groups, local_size);
    });
}

/** \param target where an intermediate pass leaves its results; not used by the last one */
template <bool is_last, typename T, layout L, typename Functor, bool index_64>
sycl::event minmax_next_step(sycl::queue& queue, dataset_helper<T, L, Functor::usm, index_64>& helper,
                             Functor& functor, const minmax_arrays<Functor>& partials,
                             const minmax_arrays<Functor>& target, std::uint64_t local_size,
                             std::uint64_t n_groups, std::uint64_t tail, std::uint64_t stride) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        const auto outcome = [&] {
            if constexpr (is_last) {
                return functor;
            } else {
                return partial_arrays<Functor, sycl::access_mode::write>(handler, target);
            }
        };
        using kernel = minmax_kernel_next_step<Functor, is_row_layout<L>, is_last, index_64>;
        const kernel body{helper,
                          n_groups,
                          tail,
                          local_size,
                          stride,
                          partial_arrays<Functor, sycl::access_mode::read_write>(handler, partials),
                          outcome(),
                          make_local<Functor, 0>(handler, local_size),
                          make_local<Functor, 1>(handler, local_size)};
        launch(handler, body, n_groups, local_size);
    });
}

} // namespace aurelo::qtx::stats::detail::gpu
