#include "device_desc.hpp"
#include "error.hpp"
#include "platform.hpp"

#include <basalt/basalt.h>

using basalt::guarded;
using basalt::require;

void bs_device_desc_init(bs_device_desc_t* desc) {
    if (desc != nullptr) {
        *desc = basalt::default_desc();
    }
}

const char* bs_last_error(void) {
    return basalt::last_error();
}

bs_result_t bs_platform_get(bs_platform_handle_t* platform) {
    return guarded([&] {
        require(platform, "platform");
        *platform = &basalt::platform::instance();
    });
}

bs_result_t bs_device_count(bs_platform_handle_t platform, uint32_t* count) {
    return guarded([&] {
        require(platform, "platform");
        require(count, "count");
        *count = static_cast<uint32_t>(platform->n_devices());
    });
}

bs_result_t bs_device_get(bs_platform_handle_t platform, uint32_t index, bs_device_handle_t* device) {
    return guarded([&] {
        require(platform, "platform");
        require(device, "device");
        *device = platform->device(index);
    });
}

namespace {

bs_result_t add_device(bs_platform_handle_t platform, const bs_device_desc_t* desc, bool listed,
                       bs_device_handle_t* device) {
    return guarded([&] {
        require(platform, "platform");
        require(desc, "desc");
        require(device, "device");
        *device = platform->add(*desc, listed);
    });
}

} // namespace

bs_result_t bs_device_add(bs_platform_handle_t platform, const bs_device_desc_t* desc,
                          bs_device_handle_t* device) {
    return add_device(platform, desc, true, device);
}

bs_result_t bs_device_add_hidden(bs_platform_handle_t platform, const bs_device_desc_t* desc,
                                 bs_device_handle_t* device) {
    return add_device(platform, desc, false, device);
}

bs_result_t bs_device_get_desc(bs_device_handle_t device, bs_device_desc_t* desc) {
    return guarded([&] {
        require(device, "device");
        require(desc, "desc");
        *desc = device->desc();
    });
}

bs_result_t bs_device_get_platform(bs_device_handle_t device, bs_platform_handle_t* platform) {
    return guarded([&] {
        require(device, "device");
        require(platform, "platform");
        *platform = device->platform();
    });
}

bs_result_t bs_device_hold(bs_device_handle_t device) {
    return guarded([&] {
        require(device, "device");
        device->scheduler().hold();
    });
}

bs_result_t bs_device_release(bs_device_handle_t device) {
    return guarded([&] {
        require(device, "device");
        if (!device->scheduler().release()) {
            basalt::throw_invalid("the device is not held");
        }
    });
}
