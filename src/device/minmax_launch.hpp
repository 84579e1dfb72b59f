/**
 * \file minmax_launch.hpp
 * \brief Steps and launch routines of max, min and min_max, for buffers and for USM.
 */
#pragma once

#include "launch.hpp"
#include "minmax_functors.hpp"
#include "minmax_kernels.hpp"

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Arrays of partial results as the host holds them: buffers, or USM pointers. */
template <typename Functor>
using minmax_arrays = per_reduction<std::conditional_t<Functor::usm, typename Functor::element_type*,
                                                       sycl::buffer<typename Functor::element_type, 1>>,
                                    Functor::reductions::size>;

/** \brief An array for each reduction of \p Functor, from `make(i)`. */
template <typename Functor, typename Result, typename Make>
Result for_reductions(const Make& make) {
    if constexpr (Functor::reductions::size == 1) {
        return Result{make(std::integral_constant<std::size_t, 0>{})};
    } else {
        return Result{make(std::integral_constant<std::size_t, 0>{}),
                      make(std::integral_constant<std::size_t, 1>{})};
    }
}

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
    return for_reductions<Functor, minmax_partials<Functor, mode>>(
        [&](auto i) { return partial_array<mode>(handler, arrays.template get<i()>()); });
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

template <typename T, layout L, typename Functor, bool index_64>
sycl::event minmax_single_step(sycl::queue& queue, dataset_helper<T, L, Functor::usm, index_64>& helper,
                               Functor& functor, std::uint64_t local_size) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        using kernel = minmax_kernel_single_step<Functor, is_row_layout<L>, index_64>;
        const kernel body{helper, functor, make_local<Functor, 0>(handler, local_size),
                          make_local<Functor, 1>(handler, local_size),
                          optional_member<!Functor::usm, std::size_t, 2>(local_size)};
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

/** \param target where an intermediate pass leaves its results; null for the last one */
template <bool is_last, typename T, layout L, typename Functor, bool index_64>
sycl::event minmax_next_step(sycl::queue& queue, dataset_helper<T, L, Functor::usm, index_64>& helper,
                             Functor& functor, const minmax_arrays<Functor>& partials,
                             const minmax_arrays<Functor>* target, std::uint64_t local_size,
                             std::uint64_t n_groups, std::uint64_t tail, std::uint64_t stride) {
    return queue.submit([&](sycl::handler& handler) {
        require_data(handler, helper, functor);
        const auto functor_or_target = [&] {
            if constexpr (is_last) {
                return functor;
            } else {
                return partial_arrays<Functor, sycl::access_mode::write>(handler, *target);
            }
        };
        using kernel = minmax_kernel_next_step<Functor, is_row_layout<L>, is_last, index_64>;
        const kernel body{helper,
                          n_groups,
                          tail,
                          local_size,
                          stride,
                          partial_arrays<Functor, sycl::access_mode::read_write>(handler, partials),
                          functor_or_target(),
                          make_local<Functor, 0>(handler, local_size),
                          make_local<Functor, 1>(handler, local_size)};
        launch(handler, body, n_groups, local_size);
    });
}

/**
 * \brief The passes of one reduction. Two sets of partial results take turns, so that no group overwrites what another
 * one has yet to read; without an intermediate pass there is just one.
 */
template <typename Functor, layout L, bool index_64>
struct minmax_passes {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;

    sycl::event first(const launch_pass& pass) {
        return wait_if_usm(minmax_first_step<T, L, Functor, index_64>(
            queue, helper, functor, sets[0], pass.local_size, pass.n_groups, pass.tail));
    }

    sycl::event intermediate(const launch_pass& pass) {
        sycl::event event = next<false>(pass, &sets[1]);
        std::swap(sets[0], sets[1]);
        return event;
    }

    sycl::event last(const launch_pass& pass) { return next<true>(pass, nullptr); }

    sycl::queue& queue;
    dataset_helper<T, L, Functor::usm, index_64>& helper;
    Functor& functor;
    std::vector<minmax_arrays<Functor>> sets; /**< what the next pass reads, then what it leaves */

private:
    template <bool is_last>
    sycl::event next(const launch_pass& pass, const minmax_arrays<Functor>* to) {
        return wait_if_usm(minmax_next_step<is_last, T, L, Functor, index_64>(
            queue, helper, functor, sets[0], to, pass.local_size, pass.n_groups, pass.tail, pass.stride));
    }

    /** \brief Accessors order passes over buffers; nothing orders passes over pointers. */
    static sycl::event wait_if_usm(sycl::event event) {
        if constexpr (usm) {
            event.wait();
        }
        return event;
    }
};

/** \brief Elements of each set of partial results that \p plan takes. */
inline std::vector<std::uint64_t> set_sizes(const launch_plan& plan, std::uint64_t n_dims) {
    std::vector<std::uint64_t> sizes{scratch_size(n_dims, plan.first_row())};
    if (plan.second_row() != 0) {
        sizes.push_back(scratch_size(n_dims, plan.second_row()));
    }
    return sizes;
}

/**
 * \brief Computes a min/max estimate of a dataset in buffers. Never waits.
 * \return the event of the last launch
 */
template <typename T, layout L, extremum_functor Functor>
sycl::event submit_minmax(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, Functor functor) {
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    auto spare_weights = placeholder_buffer<T>();
    auto spare_indices = placeholder_buffer<std::int64_t>();
    dataset_helper<T, L, false, true> helper(data, spare_weights, spare_indices);
    if (plan.is_single_step()) {
        return minmax_single_step<T, L, Functor, true>(queue, helper, functor,
                                                       plan.passes().front().local_size);
    }
    minmax_passes<Functor, L, true> passes{queue, helper, functor, {}};
    for (const std::uint64_t size : set_sizes(plan, helper.n_dims)) {
        passes.sets.push_back(for_reductions<Functor, minmax_arrays<Functor>>(
            [=](auto) { return sycl::buffer<T, 1>(sycl::range<1>(size)); }));
    }
    return submit_passes(plan, passes);
}

/**
 * \brief Computes a min/max estimate of a dataset in USM, after \p dependencies, for which the calling thread waits.
 * Several passes are complete on return, a single step need not be.
 * \return the event of the last launch
 * \throws device_bad_alloc if there is no memory for partial results
 */
template <bool index_64 = true, typename T, layout L, extremum_functor Functor>
sycl::event submit_minmax_usm(sycl::queue& queue, dataset<L, T*> data, Functor functor,
                              const std::vector<sycl::event>& dependencies) {
    sycl::event::wait_and_throw(dependencies);
    const launch_plan plan = plan_for(queue, data.n_dims, data.n_observations, Functor::estimate);
    auto helper = make_helper<index_64>(data);
    if (plan.is_single_step()) {
        return minmax_single_step<T, L, Functor, index_64>(queue, helper, functor,
                                                           plan.passes().front().local_size);
    }
    device_scratch<T> scratch(queue);
    minmax_passes<Functor, L, index_64> passes{queue, helper, functor, {}};
    for (const std::uint64_t size : set_sizes(plan, helper.n_dims)) {
        passes.sets.push_back(for_reductions<Functor, minmax_arrays<Functor>>(
            [&](auto) { return scratch.allocate(size, Functor::estimate); }));
    }
    return submit_passes(plan, passes);
}

} // namespace aurelo::qtx::stats::detail::gpu
