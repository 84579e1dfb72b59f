/**
 * \file completion.hpp
 * \brief Telling the OpenMP runtime, later and from another thread, that the work of an entry is over.
 */
#pragma once

#include "work_outcome.hpp"

#include <sycl/sycl.hpp>

#include <CL/cl.h>

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief Has the completion routine of \p interop called once \p last is complete: by a callback of the OpenCL
 * event if \p runtime is OpenCL, else by a detached thread. It may run before this returns.
 *
 * If the work fails, which a callback learns from its status and a thread from \p outcome, the routine is not called, and
 * one line on stderr says so. An exception that leaves the routine is printed; forced unwinding of the thread goes on. From
 * the first call on, the library stays loaded: a thread or a callback returns through its code.
 *
 * \param interop must stay valid until its routine has been called
 * \return false if the callback was refused: no completion will come
 * \throws std::system_error if there is no thread, std::runtime_error if the library cannot be kept loaded; no completion
 * will come then
 */
bool arrange_completion(int runtime, const sycl::event& last, const work_outcome& outcome, void* interop);

/** \brief The OpenCL event behind \p e; null if there is none. It stays the property of \p e. */
cl_event qtx_tb_omp_get_native(sycl::event e);

/** \brief Called by OpenCL at the end of the work. Releases the event when the routine has been called. */
void CL_CALLBACK qtx_tb_omp_cl_callback_completed(cl_event event, cl_int status, void* interop);

/** \brief Calls the completion routine of an object, as its properties name it now. */
void qtx_tb_omp_bs_callback_completed(void* interop);

} // namespace aurelo::qtx::stats::detail::openmp
