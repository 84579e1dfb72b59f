#include "driver.hpp"

#include <sycl/device.hpp>

#include <algorithm>

namespace sycl {

namespace detail {

device_impl::device_impl(std::shared_ptr<platform_impl> platform, device_facts facts)
    : platform_(std::move(platform)), facts_(std::move(facts)) {}

backend device_impl::get_backend() const {
    return platform_->get_backend();
}

bool device_impl::has(aspect which) const {
    return std::find(facts_.aspects.begin(), facts_.aspects.end(), which) != facts_.aspects.end();
}

std::shared_ptr<context_impl> device_impl::default_context() {
    const std::lock_guard guard(lock_);
    if (default_context_ == nullptr) {
        default_context_ = platform_->make_context({shared_from_this()}, {});
    }
    return default_context_;
}

device best_device(const std::vector<device>& candidates, const device_rating& rating) {
    const device* best = nullptr;
    int best_score = -1;
    for (const auto& each : candidates) {
        if (const int score = rating(each); score > best_score) {
            best = &each;
            best_score = score;
        }
    }
    if (best == nullptr) {
        throw exception(errc::runtime, "no device of this machine suits the selector");
    }
    return *best;
}

device select_device(const device_rating& rating) {
    return best_device(device::get_devices(), rating);
}

} // namespace detail

device::device() : device(default_selector_v) {}

backend device::get_backend() const noexcept {
    return impl_->get_backend();
}
platform device::get_platform() const {
    return platform(impl_->platform());
}
bool device::is_cpu() const {
    return impl_->facts().type == info::device_type::cpu;
}
bool device::is_gpu() const {
    return impl_->facts().type == info::device_type::gpu;
}
bool device::is_accelerator() const {
    return impl_->facts().type == info::device_type::accelerator;
}
bool device::has(aspect which) const {
    return impl_->has(which);
}

std::vector<device> device::get_devices(info::device_type type) {
    std::vector<device> result;
    for (const auto& each : platform::get_platforms()) {
        const auto devices = each.get_devices(type);
        result.insert(result.end(), devices.begin(), devices.end());
    }
    return result;
}

int default_selector_v(const device& candidate) {
    if (candidate.get_backend() == backend::opencl) {
        return candidate.is_gpu() ? 3 : 0;
    }
    return candidate.get_backend() == backend::host ? 2 : 1;
}

int gpu_selector_v(const device& candidate) {
    if (!candidate.is_gpu()) {
        return -1;
    }
    return candidate.get_backend() == backend::opencl ? 2 : 1;
}

int cpu_selector_v(const device& candidate) {
    if (!candidate.is_cpu()) {
        return -1;
    }
    return candidate.get_backend() == backend::host ? 2 : 1;
}

int accelerator_selector_v(const device& candidate) {
    return candidate.is_accelerator() ? 1 : -1;
}

std::function<int(const device&)> aspect_selector(const std::vector<aspect>& wanted,
                                                  const std::vector<aspect>& refused) {
    return [=](const device& candidate) {
        const auto has = [&](aspect which) { return candidate.has(which); };
        const bool suits = std::all_of(wanted.begin(), wanted.end(), has) &&
                           std::none_of(refused.begin(), refused.end(), has);
        return suits ? default_selector_v(candidate) : -1;
    };
}

#define SYCL_DETAIL_DEVICE_INFO(NAME, FACT)                                                                  \
    template <>                                                                                              \
    SYCL_EXPORT info::device::NAME::return_type device::get_info<info::device::NAME>() const {               \
        return impl_->facts().FACT;                                                                          \
    }
SYCL_DETAIL_DEVICE_INFO(name, name)
SYCL_DETAIL_DEVICE_INFO(vendor, vendor)
SYCL_DETAIL_DEVICE_INFO(version, version)
SYCL_DETAIL_DEVICE_INFO(driver_version, driver_version)
SYCL_DETAIL_DEVICE_INFO(device_type, type)
SYCL_DETAIL_DEVICE_INFO(max_work_group_size, max_work_group_size)
SYCL_DETAIL_DEVICE_INFO(max_compute_units, compute_units)
SYCL_DETAIL_DEVICE_INFO(local_mem_size, local_memory_bytes)
SYCL_DETAIL_DEVICE_INFO(global_mem_size, global_memory_bytes)
SYCL_DETAIL_DEVICE_INFO(aspects, aspects)
#undef SYCL_DETAIL_DEVICE_INFO

template <>
SYCL_EXPORT platform device::get_info<info::device::platform>() const {
    return get_platform();
}

} // namespace sycl
