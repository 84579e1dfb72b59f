#include "device_choice.hpp"

#include <algorithm>
#include <vector>

namespace aurelo::qtx::describe {

namespace {

std::optional<sycl::device> opencl_device() {
    auto devices = sycl::device::get_devices();
    const auto others = std::remove_if(devices.begin(), devices.end(), [](const sycl::device& device) {
        return device.get_backend() != sycl::backend::opencl;
    });
    devices.erase(others, devices.end());
    std::stable_partition(devices.begin(), devices.end(),
                          [](const sycl::device& device) { return device.is_gpu(); });
    return devices.empty() ? std::nullopt : std::optional(devices.front());
}

template <typename Selector>
std::optional<sycl::device> device_of(sycl::info::device_type type, const Selector& selector) {
    return sycl::device::get_devices(type).empty() ? std::nullopt : std::optional(sycl::device(selector));
}

} // namespace

std::optional<sycl::device> choose_device(std::string_view word) {
    using sycl::info::device_type;
    if (word == "opencl") {
        return opencl_device();
    }
    if (word == "cpu") {
        return device_of(device_type::cpu, sycl::cpu_selector_v);
    }
    if (word == "gpu") {
        return device_of(device_type::gpu, sycl::gpu_selector_v);
    }
    if (word == "accelerator") {
        return device_of(device_type::accelerator, sycl::accelerator_selector_v);
    }
    return std::nullopt;
}

} // namespace aurelo::qtx::describe
