/**
 * \file interface_types.cpp
 * \brief The types of the interface, for the comparison with the recorded ones.
 *
 * Compiled with debug information, so that the library needs none. Names of templates' instances tell their
 * argument and result types; here stands what names do not tell: the layout of classes, and the types of C entries.
 */
#include "runtime/qtx_cl_entries.hpp"
#include "runtime/qtx_cl_init.hpp"
#include "runtime/qtx_omp_wrappers.hpp"
#include "runtime/qtx_sycl_context_cache.hpp"

#include <stats/omp_offload.h>
#include <stats/stats.hpp>

namespace stats = aurelo::qtx::stats;

#define TYPE_OF(entry) decltype(&entry) type_of_##entry = nullptr;

#define LOADED_ENTRY(name, n_parameters)                                                                     \
    TYPE_OF(qtx_##name)                                                                                      \
    TYPE_OF(qtx_fp_##name)
QTX_CL_ENTRIES(LOADED_ENTRY)
TYPE_OF(qtx_cl_load_lib)
TYPE_OF(qtx_cl_init)

TYPE_OF(qtx_omp_load_lib)
TYPE_OF(qtx_tgt_ocl_use_usm)
LOADED_ENTRY(tgt_get_interop_property, 3)
LOADED_ENTRY(omp_get_interop_int, 3)
LOADED_ENTRY(omp_get_interop_ptr, 3)
LOADED_ENTRY(omp_get_interop_str, 3)

TYPE_OF(qtx_tsb_dSSCompute_omp_offload_ilp64)
TYPE_OF(qtx_tsb_sSSCompute_omp_offload_ilp64)
TYPE_OF(qtx_tsb_dSSCompute_omp_offload_lp64)
TYPE_OF(qtx_tsb_sSSCompute_omp_offload_lp64)
TYPE_OF(qtx_tsb_dsscompute_omp_offload)
TYPE_OF(qtx_tsb_ssscompute_omp_offload)
TYPE_OF(qtx_tsb_dsscompute_omp_offload_lp64)
TYPE_OF(qtx_tsb_ssscompute_omp_offload_lp64)

/// By value: behind a pointer the comparison goes by the name of a class.
#define CLASS(name, ...)                                                                                     \
    extern "C" void type_of_##name(__VA_ARGS__) {}

#define DATASETS(T, L)                                                                                       \
    CLASS(dataset_of_##T##_pointers_##L, stats::dataset<stats::layout::L, T*>)                               \
    CLASS(dataset_of_##T##_buffers_##L, stats::dataset<stats::layout::L, sycl::buffer<T, 1>>)
DATASETS(float, by_dimension)
DATASETS(float, by_observation)
DATASETS(double, by_dimension)
DATASETS(double, by_observation)
CLASS(layout, stats::layout)
CLASS(method, stats::method)

CLASS(exception, aurelo::qtx::exception)
CLASS(invalid_argument, aurelo::qtx::invalid_argument)
CLASS(unsupported_device, aurelo::qtx::unsupported_device)
CLASS(computation_error, aurelo::qtx::computation_error)
CLASS(unimplemented, aurelo::qtx::unimplemented)
CLASS(device_bad_alloc, aurelo::qtx::device_bad_alloc)

CLASS(queue, sycl::queue)
CLASS(events, std::vector<sycl::event>)
decltype(&aurelo::qtx::gpu::lookup_and_cache_nerva_context) type_of_lookup_context = nullptr;
decltype(&aurelo::qtx::gpu::lookup_and_cache_nerva_queue) type_of_lookup_queue = nullptr;
decltype(&aurelo::qtx::gpu::lookup_and_cache_nerva_queue_and_context) type_of_lookup_both = nullptr;
