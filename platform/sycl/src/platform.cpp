#include "driver.hpp"

#include <sycl/device.hpp>
#include <sycl/platform.hpp>

#include <algorithm>

namespace sycl {

platform::platform() : platform(device().get_platform()) {}

backend platform::get_backend() const noexcept {
    return impl_->get_backend();
}

std::vector<device> platform::get_devices(info::device_type type) const {
    std::vector<device> result;
    for (auto& each : impl_->devices()) {
        if (type == info::device_type::all || type == each->facts().type) {
            result.emplace_back(std::move(each));
        }
    }
    return result;
}

bool platform::has(aspect which) const {
    const auto devices = get_devices();
    return std::all_of(devices.begin(), devices.end(), [&](const device& each) { return each.has(which); });
}

std::vector<platform> platform::get_platforms() {
    std::vector<platform> result;
    for (const auto& each : detail::all_platforms()) {
        result.emplace_back(each);
    }
    return result;
}

template <>
SYCL_EXPORT std::string platform::get_info<info::platform::name>() const {
    return impl_->facts().name;
}
template <>
SYCL_EXPORT std::string platform::get_info<info::platform::vendor>() const {
    return impl_->facts().vendor;
}
template <>
SYCL_EXPORT std::string platform::get_info<info::platform::version>() const {
    return impl_->facts().version;
}

} // namespace sycl
