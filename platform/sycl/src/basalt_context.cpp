#include "basalt_driver.hpp"

namespace sycl::detail::basalt {

namespace {

bs_memory_type_t native_kind(usm::alloc kind) {
    switch (kind) {
    case usm::alloc::host:
        return BS_MEMORY_HOST;
    case usm::alloc::device:
        return BS_MEMORY_DEVICE;
    default:
        return BS_MEMORY_SHARED;
    }
}

usm::alloc kind_of(bs_memory_type_t native) {
    switch (native) {
    case BS_MEMORY_HOST:
        return usm::alloc::host;
    case BS_MEMORY_DEVICE:
        return usm::alloc::device;
    case BS_MEMORY_SHARED:
        return usm::alloc::shared;
    default:
        return usm::alloc::unknown;
    }
}

} // namespace

context::context(device_list devices, async_handler handler, bs_context_handle_t native, bool owned)
    : context_impl(std::move(devices), std::move(handler)), native_(native), owned_(owned) {}

context::~context() {
    if (owned_) {
        bs_context_destroy(native_);
    }
}

void* context::allocate(usm::alloc kind, std::size_t bytes, std::size_t alignment, device_impl& target) {
    void* memory = nullptr;
    const auto result = bs_mem_alloc(native_, static_cast<device&>(target).native(), native_kind(kind), bytes,
                                     alignment, &memory);
    if (result != BS_ERROR_OUT_OF_MEMORY) {
        check(result, "memory of the software GPU");
    }
    return memory;
}

void context::free(void* memory) {
    check(bs_mem_free(native_, memory), "memory of the software GPU");
}

context_impl::allocation context::query(const void* memory) {
    bs_memory_type_t type = BS_MEMORY_UNKNOWN;
    bs_device_handle_t holder = nullptr;
    void* base = nullptr;
    check(bs_mem_query(native_, memory, &type, &holder, &base), "memory of the software GPU");
    if (type == BS_MEMORY_UNKNOWN) {
        return {usm::alloc::unknown, nullptr};
    }
    for (const auto& each : devices()) {
        if (static_cast<device&>(*each).native() == holder) {
            return {kind_of(type), each};
        }
    }
    return {kind_of(type), devices().front()};
}

std::unique_ptr<native_queue> context::make_queue(const std::shared_ptr<device_impl>& target, bool in_order) {
    bs_command_queue_handle_t made = nullptr;
    check(bs_command_queue_create(native_, static_cast<device&>(*target).native(), in_order ? 1 : 0, &made),
          "no command queue of the software GPU");
    std::unique_ptr<_bs_command_queue_handle_t, decltype(&bs_command_queue_destroy)> guard(
        made, &bs_command_queue_destroy);
    auto result = std::make_unique<queue>(queue_handle(made), true);
    static_cast<void>(guard.release());
    return result;
}

} // namespace sycl::detail::basalt
