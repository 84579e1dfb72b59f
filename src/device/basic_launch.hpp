/**
 * \file basic_launch.hpp
 * \brief Steps and launch routines of the estimates that are made of sums, for buffers and for USM.
 */
#pragma once

#include "basic_kernels.hpp"
#include "launch.hpp"

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

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

/** \param target where an intermediate pass leaves its totals; null for the last pass, which works in place */
template <bool is_last, bool is_usm, bool user_mean, typename T, layout L, typename Functor, bool index_64>
sycl::event basic_next_step(sycl::queue& queue, dataset_helper<T, L, is_usm, index_64>& helper,
                            sum_tmp_helper<T, is_usm, user_mean>& tmp,
                            sum_tmp_helper<T, is_usm, user_mean>* target, Functor& functor,
                            std::uint64_t local_size, std::uint64_t n_groups, std::uint64_t tail,
                            std::uint64_t stride) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        tmp.set_requirements(handler);
        const sycl::local_accessor<T, 1> local(sycl::range<1>(tmp.local_blocks() * local_size), handler);
        using kernel = basic_kernel_next_step<Functor, is_row_layout<L>, is_last, index_64>;
        if constexpr (is_last) {
            launch(handler, kernel{helper, tmp, local, tail, stride, functor}, n_groups, local_size);
        } else {
            target->set_requirements(handler);
            launch(handler, kernel{helper, tmp, local, tail, stride, *target}, n_groups, local_size);
        }
    });
}

/** \brief Scratch buffers for the totals of a pass that leaves \p row results per dimension. */
template <typename T>
struct basic_scratch {
    template <typename Helper>
    basic_scratch(const Helper& helper, std::uint64_t n_blocks, std::uint64_t row)
        : block_stride(scratch_size(helper.n_dims, row)),
          sums(sycl::range<1>(scratch_size(n_blocks, block_stride))),
          weight_sums(sycl::range<1>(helper.has_weights ? row : 1)),
          weight_square_sums(weight_sums.get_range()) {}

    std::uint64_t block_stride;
    sycl::buffer<T, 1> sums;
    sycl::buffer<T, 1> weight_sums;
    sycl::buffer<T, 1> weight_square_sums;
};

/** \brief The record over \p scratch of a functor's totals; \p mean is the caller's, if the functor takes one. */
template <typename Functor, typename T, typename Helper, typename... Mean>
functor_tmp<Functor> make_tmp(const Functor& functor, basic_scratch<T>& scratch, const Helper& helper,
                              Mean&... mean) {
    const order_flags orders = orders_of(functor);
    const auto count = static_cast<long>(helper.n_observations);
    if constexpr (Functor::user_mean) {
        return functor_tmp<Functor>(scratch.sums, scratch.weight_sums, scratch.weight_square_sums, mean...,
                                    orders.order3, orders.order4, helper.has_weights, scratch.block_stride,
                                    count);
    } else {
        return functor_tmp<Functor>(scratch.sums, scratch.weight_sums, scratch.weight_square_sums,
                                    orders.order2, orders.order3, orders.order4, helper.has_weights,
                                    scratch.block_stride, count);
    }
}

/**
 * \brief The passes of one reduction. Records over different scratch take turns, so that no group overwrites what
 * another one has yet to read; without an intermediate pass there is just one.
 */
template <typename Functor, layout L, bool index_64>
struct basic_passes {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;
    static constexpr bool user_mean = Functor::user_mean;

    sycl::event first(const launch_pass& pass) {
        return basic_first_step<usm, user_mean, T, L, Functor, index_64>(
            queue, helper, source, functor, pass.local_size, pass.n_groups, pass.tail);
    }

    sycl::event intermediate(const launch_pass& pass) {
        sycl::event event = next<false>(pass, &target.value());
        std::swap(source, *target);
        return event;
    }

    sycl::event last(const launch_pass& pass) { return next<true>(pass, nullptr); }

    sycl::queue& queue;
    dataset_helper<T, L, usm, index_64>& helper;
    Functor& functor;
    functor_tmp<Functor> source;
    std::optional<functor_tmp<Functor>> target;

private:
    template <bool is_last>
    sycl::event next(const launch_pass& pass, functor_tmp<Functor>* to) {
        return basic_next_step<is_last, usm, user_mean, T, L, Functor, index_64>(
            queue, helper, source, to, functor, pass.local_size, pass.n_groups, pass.tail, pass.stride);
    }
};

/** \brief Carries out \p plan. The runtime frees the scratch when no command uses it; nothing here waits. */
template <typename T, layout L, bool is_usm, bool index_64, totals_functor Functor, typename... Mean>
sycl::event run_plan(sycl::queue& queue, const launch_plan& plan,
                     dataset_helper<T, L, is_usm, index_64>& helper, Functor& functor, Mean&... mean) {
    const std::uint64_t n_blocks = block_capacity(orders_of(functor), Functor::user_mean);
    basic_scratch<T> scratch(helper, n_blocks, plan.first_row());
    functor_tmp<Functor> tmp = make_tmp(functor, scratch, helper, mean...);
    if (plan.is_single_step()) {
        return basic_single_step<is_usm, Functor::user_mean, T, L, Functor, index_64>(
            queue, helper, tmp, functor, plan.passes().front().local_size);
    }
    basic_passes<Functor, L, index_64> passes{queue, helper, functor, tmp, {}};
    std::optional<basic_scratch<T>> second;
    if (plan.second_row() != 0) {
        second.emplace(helper, n_blocks, plan.second_row());
        passes.target = make_tmp(functor, *second, helper, mean...);
    }
    return submit_passes(plan, passes);
}

/**
 * \brief Computes an estimate of a dataset in buffers. Never waits.
 * \param mean a buffer with the caller's mean of each dimension, for functors that take one, else nothing
 * \return the event of the last launch
 */
template <typename T, layout L, totals_functor Functor, typename... Mean>
sycl::event submit_basic(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, Functor functor,
                         Mean... mean) {
    static_assert(sizeof...(Mean) == (Functor::user_mean ? 1 : 0));
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    auto spare_weights = placeholder_buffer<T>();
    auto spare_indices = placeholder_buffer<std::int64_t>();
    dataset_helper<T, L, false, true> helper(data, spare_weights, spare_indices);
    return run_plan(queue, plan, helper, functor, mean...);
}

/**
 * \brief Computes an estimate of a dataset in USM, after \p dependencies, for which the calling thread waits. The
 * kernels may still run on return.
 * \param mean pointer to the caller's mean of each dimension, for functors that take one, else nothing
 * \return the event of the last launch
 */
template <bool index_64 = true, typename T, layout L, totals_functor Functor, typename... Mean>
sycl::event submit_basic_usm(sycl::queue& queue, dataset<L, T*> data, Functor functor,
                             const std::vector<sycl::event>& dependencies, Mean... mean) {
    static_assert(sizeof...(Mean) == (Functor::user_mean ? 1 : 0));
    sycl::event::wait_and_throw(dependencies);
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    auto helper = make_helper<index_64>(data);
    return run_plan(queue, plan, helper, functor, mean...);
}

} // namespace aurelo::qtx::stats::detail::gpu
