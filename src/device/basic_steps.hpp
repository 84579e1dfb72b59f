/**
 * \file basic_steps.hpp
 * \brief Steps of the basic half: each makes one command and returns its event.
 */
#pragma once

#include "basic_kernels.hpp"
#include "launch.hpp"

#include <sycl/sycl.hpp>

#include <cstdint>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Blocks of local memory of a next step: one per total that can be in use. */
constexpr std::uint64_t local_blocks(bool user_mean, bool has_weights) {
    return (user_mean ? 3u : 4u) + (has_weights ? 2u : 0u);
}

template <bool is_usm, bool user_mean, typename T, layout L, typename Functor, bool index_64>
sycl::event basic_single_step(sycl::queue& queue, dataset_helper<T, L, is_usm, index_64>& helper,
                              sum_tmp_helper<T, is_usm, user_mean>& tmp, Functor& functor,
                              std::uint64_t local_size) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        tmp.set_requirements(handler);
        const sycl::local_accessor<T, 1> local(sycl::range<1>(local_size), handler);
        using kernel = basic_kernel_single_step<Functor, is_row_layout<L>, index_64>;
        launch(handler, kernel{helper, local, local_size, tmp, functor}, 1, local_size);
    });
}

template <bool is_usm, bool user_mean, typename T, layout L, typename Functor, bool index_64>
sycl::event basic_first_step(sycl::queue& queue, dataset_helper<T, L, is_usm, index_64>& helper,
                             sum_tmp_helper<T, is_usm, user_mean>& tmp, Functor& functor,
                             std::uint64_t local_size, std::uint64_t n_groups, std::uint64_t tail) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        tmp.set_requirements(handler);
        const sycl::local_accessor<T, 1> local(sycl::range<1>(local_size), handler);
        using kernel = basic_kernel_first_step<Functor, is_row_layout<L>, index_64>;
        launch(handler, kernel{helper, local, local_size, n_groups, tail, tmp}, n_groups, local_size);
    });
}

/** \param target where an intermediate pass leaves its totals; the last pass works in place */
template <bool is_last, bool is_usm, bool user_mean, typename T, layout L, typename Functor, bool index_64>
sycl::event basic_next_step(sycl::queue& queue, dataset_helper<T, L, is_usm, index_64>& helper,
                            sum_tmp_helper<T, is_usm, user_mean>& tmp,
                            sum_tmp_helper<T, is_usm, user_mean>& target, Functor& functor,
                            std::uint64_t local_size, std::uint64_t n_groups, std::uint64_t tail,
                            std::uint64_t stride) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        tmp.set_requirements(handler);
        const sycl::local_accessor<T, 1> local(
            sycl::range<1>(local_blocks(user_mean, tmp.has_weights) * local_size), handler);
        using kernel = basic_kernel_next_step<Functor, is_row_layout<L>, is_last, index_64>;
        if constexpr (is_last) {
            launch(handler, kernel{helper, tmp, local, tail, stride, functor}, n_groups, local_size);
        } else {
            target.set_requirements(handler);
            launch(handler, kernel{helper, tmp, local, tail, stride, target}, n_groups, local_size);
        }
    });
}

} // namespace aurelo::qtx::stats::detail::gpu
