/**
 * \file basic_submit.hpp
 * \brief Launch routines of the basic half, for datasets in buffers and in unified shared memory.
 */
#pragma once

#include "basic_steps.hpp"
#include "launch.hpp"
#include "orders.hpp"

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Scratch buffers for the totals of a pass that leaves \p row results per dimension. */
template <typename T>
struct basic_scratch {
    /** \param row may be 0 if the scratch is not going to be used */
    template <typename Helper>
    basic_scratch(const Helper& helper, std::uint64_t n_blocks, std::uint64_t row)
        : block_stride(scratch_size(helper.n_dims, row)),
          sums(sycl::range<1>(std::max<std::uint64_t>(scratch_size(n_blocks, block_stride), 1))),
          weight_sums(weight_range(helper.has_weights, row)),
          weight_square_sums(weight_range(helper.has_weights, row)) {}

    std::uint64_t block_stride;
    sycl::buffer<T, 1> sums;
    sycl::buffer<T, 1> weight_sums;
    sycl::buffer<T, 1> weight_square_sums;

private:
    // An accessor cannot stand empty, so that one element stands in where there are no weights.
    static sycl::range<1> weight_range(bool has_weights, std::uint64_t row) {
        return sycl::range<1>(has_weights ? std::max<std::uint64_t>(row, 1) : 1);
    }
};

/**
 * \brief The record over \p scratch of a functor's totals; \p mean is the caller's, if the functor takes one.
 */
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
 * \brief The passes of one reduction. Two records over different scratch take turns, so that no group
 * overwrites what another one has yet to read.
 */
template <typename Functor, layout L, bool index_64>
struct basic_passes {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;
    static constexpr bool user_mean = Functor::user_mean;

    sycl::event first(const launch_pass& pass) {
        return basic_first_step<usm, user_mean, T, L, Functor, index_64>(
            queue, helper, tmp, functor, pass.local_size, pass.n_groups, pass.tail);
    }

    sycl::event intermediate(const launch_pass& pass) {
        sycl::event event = next<false>(pass);
        std::swap(tmp, target);
        return event;
    }

    sycl::event last(const launch_pass& pass) { return next<true>(pass); }

    sycl::queue& queue;
    dataset_helper<T, L, usm, index_64>& helper;
    Functor& functor;
    functor_tmp<Functor> tmp;
    functor_tmp<Functor> target;

private:
    template <bool is_last>
    sycl::event next(const launch_pass& pass) {
        return basic_next_step<is_last, usm, user_mean, T, L, Functor, index_64>(
            queue, helper, tmp, target, functor, pass.local_size, pass.n_groups, pass.tail, pass.stride);
    }
};

/** \brief Carries out \p plan. Scratch goes when no command uses it; nothing here waits. */
template <typename T, layout L, bool is_usm, bool index_64, typename Functor, typename... Mean>
sycl::event run_plan(sycl::queue& queue, const launch_plan& plan,
                     dataset_helper<T, L, is_usm, index_64>& helper, Functor& functor, Mean&... mean) {
    const std::uint64_t n_blocks = block_capacity(orders_of(functor), Functor::user_mean);
    basic_scratch<T> scratch(helper, n_blocks, plan.first_row());
    functor_tmp<Functor> tmp = make_tmp(functor, scratch, helper, mean...);
    if (plan.is_single_step()) {
        return basic_single_step<is_usm, Functor::user_mean, T, L, Functor, index_64>(
            queue, helper, tmp, functor, plan.passes().front().local_size);
    }
    basic_scratch<T> second(helper, n_blocks, plan.second_row());
    basic_passes<Functor, L, index_64> passes{queue, helper, functor, tmp,
                                              make_tmp(functor, second, helper, mean...)};
    return submit_passes(plan, passes);
}

/**
 * \brief Computes an estimate of a dataset in buffers. Never waits.
 * \param mean a buffer with the caller's mean of each dimension, for functors that take one, else nothing
 * \return the event of the last launch
 */
template <typename T, layout L, typename Functor, typename... Mean>
sycl::event submit_basic(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, Functor functor,
                         Mean... mean) {
    static_assert(sizeof...(Mean) == (Functor::user_mean ? 1 : 0));
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    sycl::buffer<T, 1> spare_weights(sycl::range<1>(1));
    sycl::buffer<std::int64_t, 1> spare_indices(sycl::range<1>(1));
    dataset_helper<T, L, false, true> helper(data, spare_weights, spare_indices);
    return run_plan(queue, plan, helper, functor, mean...);
}

/**
 * \brief Computes an estimate of a dataset in unified shared memory, after \p dependencies, for which the
 * calling thread waits. The kernels may still run on return.
 * \param mean pointer to the caller's mean of each dimension, for functors that take one, else nothing
 * \return the event of the last launch
 */
template <bool index_64 = true, typename T, layout L, typename Functor, typename... Mean>
sycl::event submit_basic_usm(sycl::queue& queue, dataset<L, T*> data, Functor functor,
                             const std::vector<sycl::event>& dependencies, Mean... mean) {
    static_assert(sizeof...(Mean) == (Functor::user_mean ? 1 : 0));
    sycl::event::wait_and_throw(dependencies);
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    auto helper = make_helper<index_64>(data);
    return run_plan(queue, plan, helper, functor, mean...);
}

} // namespace aurelo::qtx::stats::detail::gpu
