#pragma once

#include <sycl/queue.hpp>
#include <sycl/range.hpp>

#include <cstddef>

namespace sycl {

namespace usm {
enum class alloc : int { host = 0, device = 1, shared = 2, unknown = 3 };
}

/// Allocates \p bytes of unified shared memory. Null if there is not as much, or if \p bytes is 0.
SYCL_EXPORT void* aligned_malloc(std::size_t alignment, std::size_t bytes, const device& device,
                                 const context& context, usm::alloc kind);
/// On the queue's device, in its context.
SYCL_EXPORT void* aligned_malloc(std::size_t alignment, std::size_t bytes, const queue& queue,
                                 usm::alloc kind);

inline void* malloc(std::size_t bytes, const device& device, const context& context, usm::alloc kind) {
    return aligned_malloc(0, bytes, device, context, kind);
}
inline void* malloc(std::size_t bytes, const queue& queue, usm::alloc kind) {
    return aligned_malloc(0, bytes, queue, kind);
}
inline void* malloc_device(std::size_t bytes, const queue& queue) {
    return malloc(bytes, queue, usm::alloc::device);
}
inline void* malloc_shared(std::size_t bytes, const queue& queue) {
    return malloc(bytes, queue, usm::alloc::shared);
}
inline void* malloc_host(std::size_t bytes, const queue& queue) {
    return malloc(bytes, queue, usm::alloc::host);
}
inline void* malloc_device(std::size_t bytes, const device& device, const context& context) {
    return malloc(bytes, device, context, usm::alloc::device);
}
inline void* malloc_shared(std::size_t bytes, const device& device, const context& context) {
    return malloc(bytes, device, context, usm::alloc::shared);
}
inline void* malloc_host(std::size_t bytes, const context& context) {
    return malloc(bytes, context.get_devices().front(), context, usm::alloc::host);
}

/// \p count elements. Null as well if a size cannot tell how many bytes they take.
template <typename T>
T* malloc(std::size_t count, const queue& queue, usm::alloc kind) {
    return static_cast<T*>(aligned_malloc(alignof(T), detail::bytes_of<T>(count), queue, kind));
}
template <typename T>
T* malloc_device(std::size_t count, const queue& queue) {
    return malloc<T>(count, queue, usm::alloc::device);
}
template <typename T>
T* malloc_shared(std::size_t count, const queue& queue) {
    return malloc<T>(count, queue, usm::alloc::shared);
}
template <typename T>
T* malloc_host(std::size_t count, const queue& queue) {
    return malloc<T>(count, queue, usm::alloc::host);
}

/// Frees memory of malloc_*; null is accepted. No command may use it any more.
SYCL_EXPORT void free(void* memory, const context& context);
SYCL_EXPORT void free(void* memory, const queue& queue);

SYCL_EXPORT usm::alloc get_pointer_type(const void* memory, const context& context);
/// The device of an allocation; throws errc::invalid for memory that is none of the context's.
SYCL_EXPORT device get_pointer_device(const void* memory, const context& context);

} // namespace sycl
