#include "driver.hpp"

#include <sycl/usm.hpp>

#include <string>

namespace sycl {

void* aligned_malloc(std::size_t alignment, std::size_t bytes, const device& device, const context& context,
                     usm::alloc kind) {
    if (kind == usm::alloc::unknown || (alignment & (alignment - 1)) != 0) {
        throw exception(errc::invalid,
                        kind == usm::alloc::unknown
                            ? "memory of unknown kind cannot be allocated"
                            : "an alignment of " + std::to_string(alignment) + " is no power of two");
    }
    const auto& target = detail::impl_of<detail::device_impl>(device);
    const auto& owner = detail::impl_of<detail::context_impl>(context);
    owner->require_member(*target);
    return bytes == 0 ? nullptr : owner->allocate(kind, bytes, alignment, *target);
}

void free(void* memory, const context& context) {
    if (memory != nullptr) {
        detail::impl_of<detail::context_impl>(context)->free(memory);
    }
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
