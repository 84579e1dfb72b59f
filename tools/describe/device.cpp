#include "device.hpp"

#include <fmt/format.h>

#include "device_choice.hpp"
#include "errors.hpp"
#include "text_table.hpp"

namespace aurelo::qtx::describe {

namespace {

std::string type_name(const sycl::device& device) {
    switch (device.get_info<sycl::info::device::device_type>()) {
    case sycl::info::device_type::cpu:
        return "cpu";
    case sycl::info::device_type::gpu:
        return "gpu";
    case sycl::info::device_type::accelerator:
        return "accelerator";
    default:
        return "other";
    }
}

std::string memory_size(std::size_t bytes) {
    constexpr std::size_t kibibyte = 1024;
    return bytes % kibibyte == 0 ? fmt::format("{} KiB", fmt::group_digits(bytes / kibibyte))
                                 : fmt::format("{} B", fmt::group_digits(bytes));
}

} // namespace

sycl::device find_device(const std::string& choice) {
    if (const auto device = choose_device(choice)) {
        return *device;
    }
    throw input_error(
        fmt::format("--device: '{}' cannot be used: there is no {} device here; --list-devices shows "
                    "what there is",
                    choice, choice == "opencl" ? "OpenCL" : choice));
}

device_facts facts_of(const sycl::device& device) {
    return {device.get_info<sycl::info::device::name>(), device.is_cpu(),
            device.get_info<sycl::info::device::max_work_group_size>()};
}

std::string device_list(bool styled) {
    text_column type{"type", {}, false};
    text_column limit{"work-group limit", {}};
    text_column memory{"local memory", {}};
    text_column fp64{"fp64", {}, false};
    text_column platform{"platform", {}, false};
    text_column name{"device", {}, false};
    for (const sycl::device& device : sycl::device::get_devices()) {
        name.cells.push_back(device.get_info<sycl::info::device::name>());
        platform.cells.push_back(device.get_platform().get_info<sycl::info::platform::name>());
        type.cells.push_back(type_name(device));
        limit.cells.push_back(
            fmt::format("{}", fmt::group_digits(device.get_info<sycl::info::device::max_work_group_size>())));
        memory.cells.push_back(memory_size(device.get_info<sycl::info::device::local_mem_size>()));
        fp64.cells.emplace_back(device.has(sycl::aspect::fp64) ? "yes" : "no");
    }
    // One line for each device, however long the names at its end are.
    return lay_out({type, limit, memory, fp64, platform, name}, std::string::npos, styled);
}

} // namespace aurelo::qtx::describe
