/**
 * \file qtx_sycl_context_cache.hpp
 * \brief SYCL objects made from native handles, one for each handle in the whole process.
 *
 * Every result points at an object that lives to the end of the process and is not the caller's to free. A
 * native handle stays its owner's; a handle that was destroyed and is used again for a new object finds the
 * old SYCL object. Any number of threads may call at once. What the SYCL runtime throws leaves these
 * functions with nothing cached or locked.
 */
#pragma once

#include <stats/export.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <utility>

/** \brief Any other value counts as OpenCL. */
enum qtx_gpu_backend_t : std::uint32_t { qtx_gpu_backend_opencl = 0, qtx_gpu_backend_basalt = 1 };

namespace aurelo::qtx::gpu {

struct pair_hash {
    std::size_t operator()(const std::pair<void*, void*>& key) const {
        return reinterpret_cast<std::uintptr_t>(key.first) ^ reinterpret_cast<std::uintptr_t>(key.second);
    }
};

/**
 * \brief The context of a native context and device.
 * \param device native device; null for OpenCL
 * \param sycl_device the same device, for basalt when nothing is cached yet; null for OpenCL
 */
QTX_STATS_EXPORT sycl::context* lookup_and_cache_nerva_context(void* context, void* device,
                                                               qtx_gpu_backend_t backend,
                                                               sycl::device* sycl_device);

/**
 * \brief The queue of a native queue.
 * \param backend, context, interop what to make the queue from when nothing is cached yet; \p interop, for
 * basalt only, tells whether \p queue is an immediate command list
 */
QTX_STATS_EXPORT sycl::queue* lookup_and_cache_nerva_queue(void* queue, qtx_gpu_backend_t backend,
                                                           sycl::context context, void* interop);

/// The queue of an interop object for OpenCL or basalt, with its context; null if a property cannot be read.
QTX_STATS_EXPORT sycl::queue* lookup_and_cache_nerva_queue_and_context(void* interop);

} // namespace aurelo::qtx::gpu
