#include "device.hpp"

#include "error.hpp"

void _bs_device_handle_t::check(const bs_kernel_t& kernel) const {
    const auto exceeded = [&](const std::string& what, std::size_t limit) {
        const std::string name = kernel.name != nullptr ? kernel.name : "without name";
        throw basalt::error(BS_ERROR_LIMIT_EXCEEDED, "kernel " + name + ": " + what +
                                                         " above the device's limit of " +
                                                         std::to_string(limit));
    };
    if (kernel.local_size > desc_.max_work_group_size) {
        exceeded("local size " + std::to_string(kernel.local_size) + " is", desc_.max_work_group_size);
    }
    if (kernel.local_memory_bytes > desc_.local_memory_bytes) {
        exceeded(std::to_string(kernel.local_memory_bytes) + " bytes of local memory are",
                 desc_.local_memory_bytes);
    }
}
