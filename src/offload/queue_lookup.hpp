#pragma once

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief A queue for the device and the queue that an interop object stands for.
 * \param id receives the foreign runtime of the object, one of gpu::foreign_runtime; `none` if there is no
 * queue or something is thrown
 * \param handler of the asynchronous errors of a queue that is made here; a queue of the object's own keeps its handler
 * \return a queue of the caller's own; without one a default queue, which must not be used
 *
 * OpenCL: a queue around the object's own native queue. SYCL: the object's queue. basalt: a new queue on the
 * cached context of the object's native context and device. Safe to call from any thread; what the SYCL
 * runtime throws passes.
 */
sycl::queue qtx_tb_omp_get_openmp_queue(void* interop, int& id, const sycl::async_handler& handler = {});

} // namespace aurelo::qtx::stats::detail::openmp
