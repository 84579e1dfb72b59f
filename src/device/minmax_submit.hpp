/**
 * \file minmax_submit.hpp
 * \brief Launch routines of the min/max half, for datasets in buffers and in unified shared memory.
 */
#pragma once

#include "device_scratch.hpp"
#include "launch.hpp"
#include "minmax_functors.hpp"
#include "minmax_steps.hpp"

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief The passes of one min/max reduction. Two sets of partial results take turns, so that no group
 * overwrites what another one has yet to read.
 */
template <typename Functor, layout L, bool index_64>
struct minmax_passes {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;

    sycl::event first(const launch_pass& pass) {
        return settled(minmax_first_step<T, L, Functor, index_64>(queue, helper, functor, source,
                                                                  pass.local_size, pass.n_groups, pass.tail));
    }

    sycl::event intermediate(const launch_pass& pass) {
        sycl::event event = next<false>(pass);
        std::swap(source, target);
        return event;
    }

    sycl::event last(const launch_pass& pass) { return next<true>(pass); }

    sycl::queue& queue;
    dataset_helper<T, L, Functor::usm, index_64>& helper;
    Functor& functor;
    minmax_arrays<Functor> source;
    minmax_arrays<Functor> target;

private:
    template <bool is_last>
    sycl::event next(const launch_pass& pass) {
        return settled(minmax_next_step<is_last, T, L, Functor, index_64>(
            queue, helper, functor, source, target, pass.local_size, pass.n_groups, pass.tail, pass.stride));
    }

    /** \brief The runtime orders passes over buffers; over pointers the host does. */
    static sycl::event settled(sycl::event event) {
        if constexpr (Functor::usm) {
            event.wait();
        }
        return event;
    }
};

/** \brief Buffers of \p size elements for the partial results of each reduction. */
template <typename Functor>
minmax_arrays<Functor> make_partial_buffers(std::size_t size) {
    using buffer = sycl::buffer<typename Functor::element_type, 1>;
    if constexpr (Functor::reductions::size == 1) {
        return {buffer(sycl::range<1>(size))};
    } else {
        return {buffer(sycl::range<1>(size)), buffer(sycl::range<1>(size))};
    }
}

/**
 * \brief Computes a min/max estimate of a dataset in buffers. Never waits.
 * \return the event of the last launch
 */
template <typename T, layout L, typename Functor>
sycl::event submit_minmax(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, Functor functor) {
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    sycl::buffer<T, 1> spare_weights(sycl::range<1>(1));
    sycl::buffer<std::int64_t, 1> spare_indices(sycl::range<1>(1));
    dataset_helper<T, L, false, true> helper(data, spare_weights, spare_indices);
    if (plan.is_single_step()) {
        return minmax_single_step<T, L, Functor, true>(queue, helper, functor,
                                                       plan.passes().front().local_size);
    }
    minmax_passes<Functor, L, true> passes{
        queue, helper, functor, make_partial_buffers<Functor>(scratch_size(helper.n_dims, plan.first_row())),
        make_partial_buffers<Functor>(scratch_size(helper.n_dims, plan.second_row()))};
    return submit_passes(plan, passes);
}

/**
 * \brief Computes a min/max estimate of a dataset in unified shared memory, after \p dependencies, for which
 * the calling thread waits. Several passes are complete on return, a single step need not be.
 * \return the event of the last launch
 */
template <bool index_64 = true, typename T, layout L, typename Functor>
sycl::event submit_minmax_usm(sycl::queue& queue, dataset<L, T*> data, Functor functor,
                              const std::vector<sycl::event>& dependencies) {
    sycl::event::wait_and_throw(dependencies);
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    auto helper = make_helper<index_64>(data);
    if (plan.is_single_step()) {
        return minmax_single_step<T, L, Functor, index_64>(queue, helper, functor,
                                                           plan.passes().front().local_size);
    }
    const std::size_t first = scratch_size(helper.n_dims, plan.first_row());
    const std::size_t second = scratch_size(helper.n_dims, plan.second_row());
    if constexpr (Functor::reductions::size == 1) {
        const device_scratch<T> scratch(queue, Functor::estimate, {first, second});
        minmax_passes<Functor, L, index_64> passes{queue, helper, functor, {scratch[0]}, {scratch[1]}};
        return submit_passes(plan, passes);
    } else {
        const device_scratch<T> scratch(queue, Functor::estimate, {first, first, second, second});
        minmax_passes<Functor, L, index_64> passes{
            queue, helper, functor, {scratch[0], scratch[1]}, {scratch[2], scratch[3]}};
        return submit_passes(plan, passes);
    }
}

} // namespace aurelo::qtx::stats::detail::gpu
