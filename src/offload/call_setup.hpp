/**
 * \file call_setup.hpp
 * \brief What an entry finds out about its interop object, and how it ends.
 */
#pragma once

#include "work_in_flight.hpp"

#include <sycl/sycl.hpp>

#include <optional>

namespace aurelo::qtx::stats::detail::openmp {

struct call_setup {
    /**
     * \brief Loads the OpenMP run-time, reads the nowait flag and finds a queue.
     * \return 0, or the status without a run-time or a queue
     */
    int open(void* interop_object);

    /** \brief Whether the device can take the pointers of tasks. */
    bool reaches_usm_pointers() const;

    /** \brief How to find out whether the work has succeeded. */
    work_outcome outcome() const;

    /**
     * \brief Waits for the work, or arranges its completion.
     * \return false if the completion was refused
     * \throws the first error of work that failed, sycl::exception for a queue of the caller; what arrange_completion()
     * throws
     */
    bool finish(work_in_flight& work) const;

    void* interop = nullptr;
    bool nowait = false;
    int runtime = 0; ///< one of gpu::foreign_runtime
    std::optional<sycl::queue> queue;
    first_error error; ///< of a queue of the library's own
};

} // namespace aurelo::qtx::stats::detail::openmp
