#include "driver.hpp"
#include "queue_impl.hpp"

#include <sycl/usm.hpp>

#include <string>

namespace sycl {

namespace {

void* allocate(std::size_t alignment, std::size_t bytes, detail::device_impl& device,
               detail::context_impl& context, usm::alloc kind) {
    if (kind == usm::alloc::unknown || (alignment & (alignment - 1)) != 0) {
        throw exception(errc::invalid,
                        kind == usm::alloc::unknown
                            ? "memory of unknown kind cannot be allocated"
                            : "an alignment of " + std::to_string(alignment) + " is no power of two");
    }
    return bytes == 0 ? nullptr : context.allocate(kind, bytes, alignment, device);
}

void free_in(detail::context_impl& context, void* memory) {
    if (memory != nullptr) {
        context.free(memory);
    }
}

} // namespace

void* aligned_malloc(std::size_t alignment, std::size_t bytes, const device& device, const context& context,
                     usm::alloc kind) {
    auto& target = *detail::impl_of<detail::device_impl>(device);
    auto& owner = *detail::impl_of<detail::context_impl>(context);
    owner.require_member(target);
    return allocate(alignment, bytes, target, owner, kind);
}

void* aligned_malloc(std::size_t alignment, std::size_t bytes, const queue& queue, usm::alloc kind) {
    const auto& owner = *detail::impl_of<detail::queue_impl>(queue);
    return allocate(alignment, bytes, *owner.device(), *owner.context(), kind);
}

void free(void* memory, const context& context) {
    free_in(*detail::impl_of<detail::context_impl>(context), memory);
}

void free(void* memory, const queue& queue) {
    free_in(*detail::impl_of<detail::queue_impl>(queue)->context(), memory);
}

usm::alloc get_pointer_type(const void* memory, const context& context) {
    return detail::impl_of<detail::context_impl>(context)->query(memory).kind;
}

device get_pointer_device(const void* memory, const context& context) {
    auto found = detail::impl_of<detail::context_impl>(context)->query(memory);
    if (found.device == nullptr) {
        throw exception(errc::invalid, "the pointer is no memory of the context");
    }
    return device(std::move(found.device));
}

} // namespace sycl
