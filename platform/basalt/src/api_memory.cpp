#include "context.hpp"
#include "error.hpp"

#include <basalt/basalt.h>

#include <memory>

using basalt::guarded;
using basalt::require;

bs_result_t bs_context_create(bs_platform_handle_t platform, uint32_t n_devices,
                              const bs_device_handle_t* devices, bs_context_handle_t* context) {
    return guarded([&] {
        require(platform, "platform");
        require(devices, "devices");
        require(context, "context");
        if (n_devices == 0) {
            basalt::throw_invalid("n_devices is 0");
        }
        for (uint32_t i = 0; i < n_devices; ++i) {
            require(devices[i], "a device of the context");
        }
        *context = new basalt::context(std::vector<bs_device_handle_t>(devices, devices + n_devices));
    });
}

bs_result_t bs_context_destroy(bs_context_handle_t context) {
    return guarded([&] {
        require(context, "context");
        context->check_unused();
        delete context;
    });
}

bs_result_t bs_mem_alloc(bs_context_handle_t context, bs_device_handle_t device, bs_memory_type_t type,
                         size_t bytes, size_t alignment, void** memory) {
    return guarded([&] {
        require(context, "context");
        require(memory, "memory");
        *memory = context->allocate(device, type, bytes, alignment);
    });
}

bs_result_t bs_mem_free(bs_context_handle_t context, void* memory) {
    return guarded([&] {
        require(context, "context");
        context->free(memory);
    });
}

bs_result_t bs_mem_query(bs_context_handle_t context, const void* memory, bs_memory_type_t* type,
                         bs_device_handle_t* device, void** base) {
    return guarded([&] {
        require(context, "context");
        require(type, "type");
        const basalt::context::allocation found = context->find(memory);
        *type = found.type;
        if (device != nullptr) {
            *device = found.device;
        }
        if (base != nullptr) {
            *base = found.base;
        }
    });
}
