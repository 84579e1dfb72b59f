#include "device.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "errors.hpp"
#include "text_table.hpp"

namespace aurelo::qtx::describe {

namespace {

std::vector<sycl::device> opencl_devices() {
    auto devices = sycl::device::get_devices();
    const auto others = std::remove_if(devices.begin(), devices.end(), [](const sycl::device& device) {
        return device.get_backend() != sycl::backend::opencl;
    });
    devices.erase(others, devices.end());
    std::stable_partition(devices.begin(), devices.end(),
                          [](const sycl::device& device) { return device.is_gpu(); });
    return devices;
}

std::vector<sycl::device> devices_of(sycl::info::device_type type) {
    return sycl::device::get_devices(type);
}

[[noreturn]] void refuse(const std::string& choice, std::string_view kind) {
    throw input_error(
        fmt::format("--device: '{}' cannot be used: there is no {} device here; --list-devices shows "
                    "what there is",
                    choice, kind));
}

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
    using sycl::info::device_type;
    if (choice == "opencl") {
        const auto devices = opencl_devices();
        if (devices.empty()) {
            refuse(choice, "OpenCL");
        }
        return devices.front();
    }
    if (choice == "cpu" && !devices_of(device_type::cpu).empty()) {
        return sycl::device(sycl::cpu_selector_v);
    }
    if (choice == "gpu" && !devices_of(device_type::gpu).empty()) {
        return sycl::device(sycl::gpu_selector_v);
    }
    if (choice == "accelerator" && !devices_of(device_type::accelerator).empty()) {
        return sycl::device(sycl::accelerator_selector_v);
    }
    refuse(choice, choice);
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

compute_queue::compute_queue(const sycl::device& device)
    : errors_(std::make_shared<std::vector<std::exception_ptr>>()),
      queue_(device, [errors = errors_](const sycl::exception_list& list) {
          errors->insert(errors->end(), list.begin(), list.end());
      }) {}

void compute_queue::finish() {
    queue_.wait_and_throw();
    if (!errors_->empty()) {
        const std::exception_ptr first = errors_->front();
        errors_->clear();
        std::rethrow_exception(first);
    }
}

} // namespace aurelo::qtx::describe
