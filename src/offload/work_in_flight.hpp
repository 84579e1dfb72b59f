/**
 * \file work_in_flight.hpp
 * \brief The events of the routines that one entry has run.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <vector>

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief Collects what has been submitted. Whoever leaves the entry without having waited for it or handed
 * its completion on, by an exception or a refused completion, waits: the caller is told that all is over.
 */
class work_in_flight {
public:
    explicit work_in_flight(const sycl::queue& queue) : queue_(queue) {}
    ~work_in_flight();
    work_in_flight(const work_in_flight&) = delete;
    work_in_flight& operator=(const work_in_flight&) = delete;

    void add(const sycl::event& event) { events_.push_back(event); }

    void wait();

    /**
     * \brief An event that is complete when all work is: the last one where the queue keeps the order, else a
     * task of the host that depends on all. Default-constructed if there is no work.
     */
    sycl::event joined();

    /** \brief Somebody else answers for the completion from here on. */
    void hand_over() { events_.clear(); }

private:
    sycl::queue queue_;
    std::vector<sycl::event> events_;
};

} // namespace aurelo::qtx::stats::detail::openmp
