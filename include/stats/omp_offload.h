/**
 * \file omp_offload.h
 * \brief The offload entries: a task of the statistics component on the device of an OpenMP interop object.
 *
 * OpenMP programs reach these functions by target-variant dispatch; any program that holds a task and an
 * interop object may call them. The letter after `tsb_` tells the element type (`d` double, `s` float), the
 * ending the integers of the task (`_ilp64` and the plain lower-case names 64-bit, `_lp64` 32-bit). The
 * lower-case names take the task, the mask and the method by reference, the others by value.
 *
 * \param task      made by the component; its record is read and never written. Observations, weights, mask and
 *                  result arrays must be unified shared memory that the device reaches; any slot of an optional
 *                  array may be null. Counts and storage code are read on the host.
 * \param estimates bits of the component's estimate mask; bits that name no estimate are ignored
 * \param method    1: everything is computed, the mean and raw moments on the way included; 256: central
 *                  estimates about the mean that stands in the task
 * \param interop   the interop object, for OpenCL, SYCL or basalt
 *
 * Estimates are computed in nine groups, in this order: minimum; maximum; raw sums; mean and raw moments;
 * central sums; central moments; variation; skewness; kurtosis. A group that is refused leaves its results
 * untouched and does not stop those after it. Within a group, arrays that are present in the task may be
 * written although their bit is not set; central groups write the mean and the raw moments of the task too,
 * with method 1.
 *
 * The call blocks until the results are complete. If the interop object has its nowait flag set, it returns
 * after submission and the object's completion routine is called once, from another thread, possibly before the
 * return, when the results are complete; the task's arrays and the object must stay valid until then. The routine
 * may end its thread. From the first such call on, the library stays loaded. A call that returns -1, -2, -3, -4001,
 * -4002 or -4032 makes no completion, and none of its work is running when it returns.
 *
 * Work that the device refuses, or that fails while it runs, ends a waiting call with a message on stderr and -2. If
 * work fails after the return of a nowait call, its routine is not called, and one line on stderr says so. If the
 * interop object stands for a SYCL queue, that queue's asynchronous handler gets the errors as well. Without a
 * handler, SYCL ends the program when the last copy of such a queue goes: give the queue one.
 *
 * Nothing is thrown; an exception is printed on stderr and becomes -2. Any number of threads may call at once;
 * calls that share result arrays must not overlap.
 *
 * \return 0, or
 *   - -1: OpenCL without shared memory (`LIBOMPTARGET_OPENCL_USE_SVM` begins with 1)
 *   - -2: the OpenMP runtime cannot be loaded, the interop object has no queue for this library, the
 *     completion was refused, the work failed, or an exception was caught
 *   - -3: the storage code is not one of the two
 *   - -4001, -4002, -4032: fewer than 1 dimension; fewer than 1 observation; no observations
 *   - the status of the last group that was run: -4029 for a method that it does not have, or the component's
 *     status for a missing array
 */
#ifndef STATS_OMP_OFFLOAD_H
#define STATS_OMP_OFFLOAD_H

#include <stats/export.hpp>

#ifdef __cplusplus
extern "C" {
#endif

/** \name By value */
/**@{*/
/** \brief double, 64-bit integers */
QTX_STATS_EXPORT int qtx_tsb_dSSCompute_omp_offload_ilp64(void* task, unsigned long long estimates,
                                                          long long method, void* interop);
/** \brief float, 64-bit integers */
QTX_STATS_EXPORT int qtx_tsb_sSSCompute_omp_offload_ilp64(void* task, unsigned long long estimates,
                                                          long long method, void* interop);
/** \brief double, 32-bit integers */
QTX_STATS_EXPORT int qtx_tsb_dSSCompute_omp_offload_lp64(void* task, unsigned long long estimates, int method,
                                                         void* interop);
/** \brief float, 32-bit integers */
QTX_STATS_EXPORT int qtx_tsb_sSSCompute_omp_offload_lp64(void* task, unsigned long long estimates, int method,
                                                         void* interop);
/**@}*/

/** \name By reference */
/**@{*/
/** \brief double, 64-bit integers */
QTX_STATS_EXPORT int qtx_tsb_dsscompute_omp_offload(void* const* task, const unsigned long long* estimates,
                                                    const long long* method, void* interop);
/** \brief float, 64-bit integers */
QTX_STATS_EXPORT int qtx_tsb_ssscompute_omp_offload(void* const* task, const unsigned long long* estimates,
                                                    const long long* method, void* interop);
/** \brief double, 32-bit integers */
QTX_STATS_EXPORT int qtx_tsb_dsscompute_omp_offload_lp64(void* const* task,
                                                         const unsigned long long* estimates,
                                                         const int* method, void* interop);
/** \brief float, 32-bit integers */
QTX_STATS_EXPORT int qtx_tsb_ssscompute_omp_offload_lp64(void* const* task,
                                                         const unsigned long long* estimates,
                                                         const int* method, void* interop);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
