/**
 * \file launch.hpp
 * \brief What launches of extrema and of sums share on the host.
 */
#pragma once

#include "launch_plan.hpp"

#include <stats/exception.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief The plan of a dataset on the queue's device, by its work-group limit in full.
 * \throws invalid_argument, with the estimate as function word, for counts below 1, and for more than one
 * observation on a device whose work-group limit is 1, where no pass would shorten a row
 * \throws sycl::exception of `errc::nd_range` for a first pass of 2^31 work-items or more: before there is scratch, which
 * runtimes are asked for earlier than for the launch
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

/** \brief Device memory of one call, freed in order of allocation on every way out. */
template <typename T>
class device_scratch {
public:
    explicit device_scratch(const sycl::queue& queue) : queue_(queue) {}
    device_scratch(const device_scratch&) = delete;
    device_scratch& operator=(const device_scratch&) = delete;
    ~device_scratch() {
        for (T* const array : arrays_) {
            sycl::free(array, queue_.get_context());
        }
    }

    /** \throws device_bad_alloc, with \p estimate as function word, if \p size elements cannot be had */
    T* allocate(std::size_t size, const char* estimate) {
        arrays_.reserve(arrays_.size() + 1); // so that nothing is lost
        T* const array = sycl::malloc_device<T>(size, queue_);
        if (array == nullptr) {
            throw device_bad_alloc("stats", estimate, queue_.get_device());
        }
        arrays_.push_back(array);
        return array;
    }

private:
    sycl::queue queue_;
    std::vector<T*> arrays_;
};

/**
 * \brief While one lives, it collects the events of all passes that its thread submits for plans of several.
 *
 * Passes are ordered by accessors or by waits of the host. Neither carries a failure on, so that the event of the last
 * pass does not tell whether an earlier one failed.
 */
class pass_events {
public:
    pass_events();
    ~pass_events();
    pass_events(const pass_events&) = delete;
    pass_events& operator=(const pass_events&) = delete;

    /** \brief That of the calling thread, or null. */
    static pass_events* current();

    /** \brief Makes room for \p n more, so that add() cannot fail while a pass is running. */
    void reserve(std::size_t n) { events_.reserve(events_.size() + n); }
    void add(const sycl::event& event) { events_.push_back(event); }
    const std::vector<sycl::event>& list() const { return events_; }

private:
    std::vector<sycl::event> events_;
    pass_events* const outer_;
};

/**
 * \brief Submits the passes of a plan of several, in order. \p steps has `first(pass)`, `intermediate(pass)`
 * and `last(pass)`, each of which submits one command and returns its event. If one cannot be submitted, those before it
 * no longer read the caller's pointers when the error leaves: the caller gets no event to wait for.
 */
template <typename Steps>
sycl::event submit_passes(const launch_plan& plan, Steps& steps) {
    const auto& passes = plan.passes();
    pass_events* const collected = pass_events::current();
    if (collected != nullptr) {
        collected->reserve(passes.size());
    }
    sycl::event newest;
    const auto submitted = [&](sycl::event event) {
        newest = std::move(event);
        if (collected != nullptr) {
            collected->add(newest);
        }
    };
    submitted(steps.first(passes.front()));
    try {
        for (std::size_t i = 1; i + 1 < passes.size(); ++i) {
            submitted(steps.intermediate(passes[i]));
        }
        submitted(steps.last(passes.back()));
        return newest;
    } catch (...) {
        if constexpr (Steps::usm) {
            newest.wait();
        }
        throw;
    }
}

} // namespace aurelo::qtx::stats::detail::gpu
