#pragma once

#include <stats/export.hpp>

#include <cstdint>

extern "C" {

QTX_STATS_EXPORT extern int (*qtx_fp_tgt_get_interop_property)(void*, int, void**);
QTX_STATS_EXPORT extern std::intptr_t (*qtx_fp_omp_get_interop_int)(void*, int, int*);
QTX_STATS_EXPORT extern void* (*qtx_fp_omp_get_interop_ptr)(void*, int, int*);
QTX_STATS_EXPORT extern const char* (*qtx_fp_omp_get_interop_str)(void*, int, int*);

/**
 * \brief Loads `libomptarget.so` and resolves its four entries; once in a process, whatever comes of it.
 * \return 0 if all four were found, else -1, in this and in every later call
 */
QTX_STATS_EXPORT std::int32_t qtx_omp_load_lib();

/** \name The entries under our prefix: they load the library if need be, and stop the process without it */
/**@{*/
QTX_STATS_EXPORT int qtx_tgt_get_interop_property(void* interop, int property, void** value);
QTX_STATS_EXPORT std::intptr_t qtx_omp_get_interop_int(void* interop, int property, int* code);
QTX_STATS_EXPORT void* qtx_omp_get_interop_ptr(void* interop, int property, int* code);
QTX_STATS_EXPORT const char* qtx_omp_get_interop_str(void* interop, int property, int* code);
/**@}*/

/**
 * \brief Whether the OpenMP run-time hands out USM pointers when it runs on OpenCL: 1 unless the environment
 * variable `LIBOMPTARGET_OPENCL_USE_SVM` begins with "1". Reads the environment in every call.
 */
QTX_STATS_EXPORT int qtx_tgt_ocl_use_usm();
}
