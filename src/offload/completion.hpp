/**
 * \file completion.hpp
 * \brief Telling the OpenMP run-time, later and from another thread, that the work of an entry is over.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <CL/cl.h>

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief Has the completion routine of \p interop called once \p last is complete: by a callback of the OpenCL
 * event if \p runtime is OpenCL, else by a detached thread. It may run before this returns.
 *
 * If the work fails, the routine is not called, and a line on stderr says so. An exception is a thread that
 * cannot be made; no completion comes then.
 * \param interop must stay valid until its routine has been called
 * \return false if the callback was refused: no completion will come
 */
bool arrange_completion(int runtime, const sycl::event& last, void* interop);

/** \brief The OpenCL event behind \p e; null if there is none. It stays the property of \p e. */
cl_event qtx_tb_omp_get_native(sycl::event e);

/** \brief Called by OpenCL at the end of the work. Releases the event when the routine has been called. */
void CL_CALLBACK qtx_tb_omp_cl_callback_completed(cl_event event, cl_int status, void* interop);

/** \brief Calls the completion routine of an object, as its properties name it now. */
void qtx_tb_omp_bs_callback_completed(void* interop);

} // namespace aurelo::qtx::stats::detail::openmp
