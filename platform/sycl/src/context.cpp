#include "driver.hpp"

#include <sycl/context.hpp>

#include <algorithm>

namespace sycl {

namespace detail {

context_impl::context_impl(device_list devices, async_handler handler)
    : devices_(std::move(devices)), handler_(std::move(handler)) {}

backend context_impl::get_backend() const {
    return devices_.front()->get_backend();
}

void context_impl::require_member(const device_impl& device) const {
    const bool member = std::any_of(devices_.begin(), devices_.end(),
                                    [&](const auto& each) { return each.get() == &device; });
    if (!member) {
        throw exception(errc::invalid, "device " + device.facts().name + " is none of the context's devices");
    }
}

namespace {

std::shared_ptr<context_impl> make_context(const std::vector<device>& devices, const async_handler& handler) {
    if (devices.empty()) {
        throw exception(errc::invalid, "a context needs a device, the list is empty");
    }
    device_list list;
    for (const auto& each : devices) {
        list.push_back(impl_of<device_impl>(each));
        if (list.back()->platform() != list.front()->platform()) {
            throw exception(errc::invalid, "the devices of a context are of one platform, " +
                                               list.back()->facts().name + " is of another");
        }
    }
    return list.front()->platform()->make_context(list, handler);
}

} // namespace
} // namespace detail

context::context(const property_list& properties) : context(device(), properties) {}
context::context(const async_handler& handler, const property_list& properties)
    : context(device(), handler, properties) {}
context::context(const device& device, const property_list& properties)
    : context(std::vector<sycl::device>{device}, properties) {}
context::context(const device& device, const async_handler& handler, const property_list& properties)
    : context(std::vector<sycl::device>{device}, handler, properties) {}
context::context(const std::vector<device>& devices, const property_list& properties)
    : context(devices, async_handler(), properties) {}
context::context(const std::vector<device>& devices, const async_handler& handler, const property_list&)
    : impl_(detail::make_context(devices, handler)) {}

backend context::get_backend() const noexcept {
    return impl_->get_backend();
}
platform context::get_platform() const {
    return platform(impl_->devices().front()->platform());
}

std::vector<device> context::get_devices() const {
    return {impl_->devices().begin(), impl_->devices().end()};
}

template <>
SYCL_EXPORT platform context::get_info<info::context::platform>() const {
    return get_platform();
}
template <>
SYCL_EXPORT std::vector<device> context::get_info<info::context::devices>() const {
    return get_devices();
}

} // namespace sycl
