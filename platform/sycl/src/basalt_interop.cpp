#include "basalt_driver.hpp"
#include "queue_impl.hpp"

namespace sycl {

namespace basalt_detail = detail::basalt;

namespace {

template <typename Native, typename Impl>
Native& as_basalt(const std::shared_ptr<Impl>& impl) {
    if (impl->get_backend() != backend::ext_aurelo_basalt) {
        throw exception(errc::backend_mismatch, "the object is none of the basalt backend");
    }
    return static_cast<Native&>(*impl);
}

template <typename Handle>
void require_handle(Handle* native, const char* what) {
    if (native == nullptr) {
        throw exception(errc::invalid, std::string("the native handle of the ") + what + " is null");
    }
}

} // namespace

namespace ext::aurelo::basalt {

platform make_platform(_bs_platform_handle_t* native) {
    return platform(basalt_detail::platform_of(native));
}

device make_device(const platform& platform, _bs_device_handle_t* native) {
    require_handle(native, "device");
    const auto& impl = sycl::detail::impl_of<sycl::detail::platform_impl>(platform);
    return device(as_basalt<basalt_detail::platform>(impl).device_of(native));
}

} // namespace ext::aurelo::basalt

template <>
context make_context<backend::ext_aurelo_basalt>(const ext::aurelo::basalt::context_input& native,
                                                 const async_handler& handler) {
    require_handle(native.native, "context");
    if (native.devices.empty()) {
        throw exception(errc::invalid, "a context needs a device, the list is empty");
    }
    detail::device_list devices;
    for (const auto& each : native.devices) {
        devices.push_back(detail::impl_of<detail::device_impl>(each));
        as_basalt<basalt_detail::device>(devices.back());
    }
    const bool owned = native.ownership == ext::aurelo::basalt::ownership::transfer;
    return context(
        std::make_shared<basalt_detail::context>(std::move(devices), handler, native.native, owned));
}

template <>
queue make_queue<backend::ext_aurelo_basalt>(const ext::aurelo::basalt::queue_input& native,
                                             const context& target, const async_handler& handler) {
    std::visit([](auto* handle) { require_handle(handle, "queue"); }, native.native);
    const auto& owner = detail::impl_of<detail::context_impl>(target);
    const auto& device = detail::impl_of<detail::device_impl>(native.device);
    as_basalt<basalt_detail::context>(owner);
    owner->require_member(*device);
    const bool owned = native.ownership == ext::aurelo::basalt::ownership::transfer;
    const bool in_order = native.properties.has_property<property::queue::in_order>();
    return queue(std::make_shared<detail::queue_impl>(
        owner, device, handler, in_order, std::make_unique<basalt_detail::queue>(native.native, owned)));
}

template <>
_bs_platform_handle_t* get_native<backend::ext_aurelo_basalt>(const platform& object) {
    return as_basalt<basalt_detail::platform>(detail::impl_of<detail::platform_impl>(object)).native();
}
template <>
_bs_device_handle_t* get_native<backend::ext_aurelo_basalt>(const device& object) {
    return as_basalt<basalt_detail::device>(detail::impl_of<detail::device_impl>(object)).native();
}
template <>
_bs_context_handle_t* get_native<backend::ext_aurelo_basalt>(const context& object) {
    return as_basalt<basalt_detail::context>(detail::impl_of<detail::context_impl>(object)).native();
}
template <>
ext::aurelo::basalt::queue_handle get_native<backend::ext_aurelo_basalt>(const queue& object) {
    const auto& impl = detail::impl_of<detail::queue_impl>(object);
    as_basalt<basalt_detail::device>(impl->device());
    return static_cast<basalt_detail::queue&>(impl->native()).native();
}

} // namespace sycl
