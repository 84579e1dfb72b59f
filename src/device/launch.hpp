/**
 * \file launch.hpp
 * \brief What the min/max half and the basic half of the engine share on the host.
 */
#pragma once

#include "launch_plan.hpp"

#include <stats/layout.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace aurelo::qtx::stats::detail::gpu {

template <layout L>
inline constexpr bool is_row_layout = L == layout::by_dimension;

/**
 * \brief The plan of a dataset on the queue's device, by its work-group limit in full.
 * \throws invalid_argument, with the estimate as function word, for counts below 1, and for more than one
 * observation on a device whose work-group limit is 1, where no pass would shorten a row
 * \throws sycl::exception of `errc::nd_range` for a first pass of 2^31 work-items or more: before there is scratch, which
 * run-times are asked for earlier than for the launch
 */
launch_plan plan_for(const sycl::queue& queue, std::int64_t n_dims, std::int64_t n_observations,
                     const char* estimate);

/**
 * \brief Elements of \p n_rows rows of scratch of \p row elements. Saturates, at a size that no memory has: an
 * allocation of it is refused.
 */
constexpr std::uint64_t scratch_size(std::uint64_t n_rows, std::uint64_t row) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    return row == 0 || n_rows <= largest / row ? n_rows * row : largest;
}

/** \brief Launches a kernel object under its own type as name. */
template <typename Kernel>
void launch(sycl::handler& handler, const Kernel& kernel, std::uint64_t n_groups, std::uint64_t local_size) {
    static_assert(sizeof(Kernel) <= 1024, "OpenCL devices take arguments of at most 1024 bytes");
    handler.parallel_for<Kernel>(sycl::nd_range<1>(n_groups * local_size, local_size), kernel);
}

/** \brief Makes the buffers of a helper and a functor part of the command; pointers need nothing. */
template <typename Helper, typename Functor>
void require_data(sycl::handler& handler, const Helper& helper, const Functor& functor) {
    if constexpr (!Functor::usm) {
        helper.set_requirements(handler);
        functor.set_requirements(handler);
    }
}

/**
 * \brief Submits the passes of a plan of several, in order. \p steps has `first(pass)`, `intermediate(pass)`
 * and `last(pass)`, each of which submits one command and returns its event. If one cannot be submitted, those before it
 * no longer read the caller's pointers when the error leaves: the caller gets no event to wait for.
 */
template <typename Steps>
sycl::event submit_passes(const launch_plan& plan, Steps& steps) {
    const auto& passes = plan.passes();
    sycl::event newest = steps.first(passes.front());
    try {
        for (std::size_t i = 1; i + 1 < passes.size(); ++i) {
            newest = steps.intermediate(passes[i]);
        }
        return steps.last(passes.back());
    } catch (...) {
        if constexpr (Steps::usm) {
            newest.wait();
        }
        throw;
    }
}

} // namespace aurelo::qtx::stats::detail::gpu
