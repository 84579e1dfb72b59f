/**
 * \file work_in_flight.hpp
 * \brief The events of the routines that one entry has run.
 */
#pragma once

#include "work_outcome.hpp"

#include "device/launch.hpp"

#include <sycl/sycl.hpp>

#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief Collects what an entry submits. Lives on the entry's thread.
 *
 * The destructor waits unless the work was awaited or handed over, so that nothing is running when an error is returned.
 */
class work_in_flight {
public:
    /** \brief Allocates what is needed to collect the work, so that none is lost once it has been submitted. */
    work_in_flight(const sycl::queue& queue, work_outcome outcome);
    ~work_in_flight();
    work_in_flight(const work_in_flight&) = delete;
    work_in_flight& operator=(const work_in_flight&) = delete;

    /** \brief Adds the event of a routine; there are nine. */
    void add(const sycl::event& event) { events_.push_back(event); }

    /** \brief Blocks until all work is over. Throws the first error of work that failed. */
    void wait();

    /**
     * \brief An event that is complete when all work is, and fails if any of it failed: the only one, or that of a host
     * task that depends on all. Default-constructed if there is no work.
     */
    sycl::event joined();

    /** \brief Whether the work succeeded, for when it is over. */
    const work_outcome& outcome() const { return outcome_; }

    /** \brief The completion has been arranged: leaves the waiting to it. */
    void hand_over() { events_.clear(); }

private:
    sycl::queue queue_;
    work_outcome outcome_;
    std::vector<sycl::event> events_;
    gpu::pass_events passes_;
};

} // namespace aurelo::qtx::stats::detail::openmp
